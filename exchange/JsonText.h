#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace k470 {

/// Members keep the order in which they are added.
using Json = nlohmann::ordered_json;

/// The document as it is printed or saved, the line end included. Bytes that are not UTF-8 are replaced.
std::string DumpJson(const Json &document);

} // namespace k470
