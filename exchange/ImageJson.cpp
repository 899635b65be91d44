#include "exchange/ImageJson.h"

#include "core/HexCells.h"
#include "core/NumberText.h"
#include "exchange/FieldTexts.h"
#include "exchange/JsonText.h"

#include <algorithm>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <utility>

namespace k470 {

namespace {

constexpr const char *FormatMember = "format";
constexpr const char *FormatName = "k470";
constexpr const char *VersionMember = "version";
constexpr int FormatVersion = 1;

constexpr TextPair InvalidPlace{"line {}, column {}", "第 {} 行第 {} 列"};
constexpr TextPair NoJson{"no valid JSON", "不是有效的 JSON"};
constexpr TextPair NumberTooLarge{"the number is too large", "数字过大"};
constexpr TextPair ObjectNeeded{"an object is needed", "应为对象"};
constexpr TextPair ListNeeded{"a list is needed", "应为列表"};
constexpr TextPair ValueNeeded{"a text, a number, true, false or null is needed",
                               "应为文本、数字、true、false 或 null"};
constexpr TextPair MemberUnknown{"no such member", "没有这样的成员"};
constexpr TextPair MemberRepeated{"there is a member of this name already", "已有同名的成员"};
constexpr TextPair FormatNeeded{"{} is needed", "应为 {}"};

/// The members of an object in the order of the file. Unlike the library's own objects it keeps members of
/// the same name, so that they can be refused.
template <class Key, class T, class Less = std::less<Key>,
          class Allocator = std::allocator<std::pair<const Key, T>>>
struct Members : nlohmann::ordered_map<Key, T, Less, Allocator> {
    using nlohmann::ordered_map<Key, T, Less, Allocator>::ordered_map;
    T &operator[](const Key &name) { return this->emplace_back(name, T()).second; }
};
using Document = nlohmann::basic_json<Members>;

/// What a cell says; "" for null and for what is no cell.
std::string CellText(const Document &value) {
    if (value.is_boolean())
        return value.get<bool>() ? "Yes" : "No";
    if (value.is_number())
        return value.dump();
    return value.is_string() ? value.get<std::string>() : std::string();
}

/// Takes the rows out of a document.
class DocumentReader {
public:
    ReadFields Read(const Document &root) {
        if (!root.is_object()) {
            Refuse("", "", root, ObjectNeeded);
            return std::move(result_);
        }
        std::set<std::string> names;
        for (const auto &[name, value] : root.items()) {
            if (!TakeMember(name, value))
                Refuse("", name, value, MemberUnknown);
            else if (!names.insert(name).second)
                Refuse("", name, value, MemberRepeated);
        }
        return std::move(result_);
    }

private:
    void Refuse(std::string place, const std::string &name, const Document &value, const TextPair &reason,
                const std::string &detail = {}) {
        result_.problems.push_back({{order_, std::move(place)}, name, CellText(value), reason, detail});
    }

    /// @return false when there is no such member
    bool TakeMember(const std::string &name, const Document &value) {
        ++order_;
        const bool isFormat = name == FormatMember;
        if (isFormat || name == VersionMember) {
            const std::string needed = isFormat ? FormatName : std::to_string(FormatVersion);
            if (CellText(value) != needed)
                Refuse("", name, value, FormatNeeded, needed);
            return true;
        }
        for (const FieldTable table : AllTables) {
            if (name != ShapeOf(table).member)
                continue;
            if (ShapeOf(table).IsPairs())
                TakePairs(name, value, table);
            else
                TakeList(name, value, table);
            return true;
        }
        return false;
    }

    /// An object whose members are rows of a name and a value.
    void TakePairs(const std::string &tableName, const Document &pairs, FieldTable table) {
        if (!pairs.is_object())
            return Refuse("", tableName, pairs, ObjectNeeded);
        for (const auto &[name, value] : pairs.items()) {
            ++order_;
            if (value.is_primitive())
                result_.rows.push_back({table,
                                        {name, CellText(value)},
                                        {order_, std::string(tableName).append(".").append(name)}});
            else
                Refuse(tableName, name, value, ValueNeeded);
        }
    }

    void TakeList(const std::string &tableName, const Document &list, FieldTable table) {
        if (!list.is_array())
            return Refuse("", tableName, list, ListNeeded);
        for (std::size_t i = 0; i < list.size(); ++i) {
            ++order_;
            const std::string place = tableName + "[" + std::to_string(i) + "]";
            if (list[i].is_object())
                TakeRow(list[i], table, place);
            else
                Refuse(place, "", list[i], ObjectNeeded);
        }
    }

    void TakeRow(const Document &object, FieldTable table, const std::string &place) {
        const std::vector<FieldColumn> &columns = ShapeOf(table).columns;
        FieldRow row{table, FieldCells(columns.size()), {order_, place}};
        for (const auto &[name, value] : object.items()) {
            const auto column =
                std::find_if(columns.begin(), columns.end(),
                             [&member = name](const FieldColumn &c) { return c.member == member; });
            if (column == columns.end()) {
                Refuse(place, name, value, MemberUnknown);
                continue;
            }
            std::optional<std::string> &text = row.cells[static_cast<std::size_t>(column - columns.begin())];
            if (!value.is_primitive())
                Refuse(place, name, value, ValueNeeded);
            else if (text)
                Refuse(place, name, value, MemberRepeated);
            text = CellText(value);
        }
        result_.rows.push_back(std::move(row));
    }

    std::size_t order_ = 0;
    ReadFields result_;
};

FieldPlace PlaceInText(std::string_view text, std::size_t position, Language language) {
    const std::string_view before = text.substr(0, position == 0 ? 0 : position - 1);
    const auto line = 1 + std::count(before.begin(), before.end(), '\n');
    const std::size_t lineStart = before.rfind('\n') + 1; // none wraps to the start of the text
    return {0, Phrase(language, InvalidPlace,
                      {std::to_string(line), std::to_string(before.size() - lineStart + 1)})};
}

Json ValueOf(const std::string &text) {
    constexpr std::size_t MaxDigits = 9;
    if (text.empty())
        return nullptr;
    if (text == "Yes" || text == "No")
        return text == "Yes";
    const std::optional<int> number = ParseDecimal(text, 0);
    if (number && text.size() <= MaxDigits && std::to_string(*number) == text)
        return *number;
    return text;
}

std::string MemberName(std::string_view name) {
    return std::string(name);
}

Json PairsAsJson(const std::vector<FieldRow> &rows, FieldTable table) {
    Json object = Json::object();
    for (const FieldRow &row : rows) {
        if (row.table == table)
            object[row.cells[NameColumn].value_or("")] = ValueOf(row.cells[ValueColumn].value_or(""));
    }
    return object;
}

Json ListAsJson(const std::vector<FieldRow> &rows, FieldTable table) {
    const std::vector<FieldColumn> &columns = ShapeOf(table).columns;
    Json list = Json::array();
    for (const FieldRow &row : rows) {
        if (row.table != table)
            continue;
        Json object = Json::object();
        for (std::size_t column = 0; column < columns.size(); ++column) {
            if (row.cells[column])
                object[MemberName(columns[column].member)] = ValueOf(*row.cells[column]);
        }
        list.push_back(std::move(object));
    }
    return list;
}

Json DifferenceAsJson(const FieldDifference &difference) {
    const FieldTableShape &shape = ShapeOf(difference.table);
    Json row{{"table", MemberName(shape.member)}};
    if (!shape.IsPairs())
        row[MemberName(shape.columns.front().member)] = ValueOf(difference.row);
    row["field"] = shape.IsPairs() ? difference.row : MemberName(shape.columns[difference.column].member);
    row["first"] = ValueOf(difference.first);
    row["second"] = ValueOf(difference.second);
    return row;
}

} // namespace

std::string FieldsAsJson(const std::vector<FieldRow> &rows) {
    Json document{{FormatMember, FormatName}, {VersionMember, FormatVersion}};
    for (const FieldTable table :
         {FieldTable::Band, FieldTable::Settings, FieldTable::Channels, FieldTable::Tuning}) {
        document[MemberName(ShapeOf(table).member)] =
            ShapeOf(table).IsPairs() ? PairsAsJson(rows, table) : ListAsJson(rows, table);
    }
    return DumpJson(document);
}

ReadFields FieldsFromJson(std::string_view text, Language language) {
    const auto refused = [](const FieldPlace &place, const TextPair &reason) {
        ReadFields nothing;
        nothing.problems.push_back({place, "", "", reason});
        return nothing;
    };
    try {
        return DocumentReader().Read(Document::parse(text));
    } catch (const Document::parse_error &error) {
        return refused(PlaceInText(text, error.byte, language), NoJson);
    } catch (const Document::out_of_range &) { // a number; the library does not say which
        return refused({}, NumberTooLarge);
    }
}

std::string DifferencesAsJson(const std::vector<FieldDifference> &fields, const std::vector<ByteRun> &bytes) {
    Json document{{"equal", bytes.empty()}, {"fields", Json::array()}, {"bytes", Json::array()}};
    for (const FieldDifference &difference : fields)
        document["fields"].push_back(DifferenceAsJson(difference));
    for (const ByteRun &run : bytes) {
        Json row{{"address", run.address}};
        row["first"] = HexText(run.first);
        row["second"] = HexText(run.second);
        document["bytes"].push_back(std::move(row));
    }
    return DumpJson(document);
}

} // namespace k470
