#include "exchange/JsonText.h"

namespace k470 {

std::string DumpJson(const Json &document) {
    constexpr int Indent = 2;
    return document.dump(Indent, ' ', false, Json::error_handler_t::replace) + "\n";
}

} // namespace k470
