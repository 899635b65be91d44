#include "exchange/ImageJson.h"

#include "core/HexCells.h"
#include "core/NumberText.h"
#include "exchange/FieldTexts.h"
#include "exchange/JsonText.h"

#include <algorithm>
#include <optional>
#include <set>
#include <utility>

namespace k470 {

namespace {

constexpr const char *FormatMember = "format";
constexpr const char *FormatName = "k470";
constexpr const char *VersionMember = "version";
constexpr int FormatVersion = 1;
constexpr std::size_t DeepestLevel = 8;

constexpr TextPair InvalidPlace{"line {}, column {}", "第 {} 行第 {} 列"};
constexpr TextPair NoJson{"no valid JSON", "不是有效的 JSON"};
constexpr TextPair NumberTooLarge{"the number is too large", "数字过大"};
constexpr TextPair TooDeep{"lists and objects are nested too deeply", "嵌套层次过多"};
constexpr TextPair ObjectNeeded{"an object is needed", "应为对象"};
constexpr TextPair ListNeeded{"a list is needed", "应为列表"};
constexpr TextPair ValueNeeded{"a text, a number, true, false or null is needed",
                               "应为文本、数字、true、false 或 null"};
constexpr TextPair MemberUnknown{"no such member", "没有这样的成员"};
constexpr TextPair MemberRepeated{"there is a member of this name already", "已有同名的成员"};
constexpr TextPair FormatNeeded{"{} is needed", "应为 {}"};

/// A value of a document, numbers as they are written.
struct JsonNode {
    enum class Kind { Scalar, Object, List };
    Kind kind = Kind::Scalar;
    std::string name{}; ///< in an object
    std::string text{};
    std::vector<JsonNode> children{};
};

/// Builds the nodes of a document. Unlike the library's own it keeps what a number looks like and members of
/// the same name, and says where an error is.
class NodeBuilder : public nlohmann::json_sax<Json> {
public:
    explicit NodeBuilder(JsonNode &root) : root_(root) {}

    bool null() override { return AddText(""); }
    bool boolean(bool value) override { return AddText(value ? "Yes" : "No"); }
    bool number_integer(number_integer_t value) override { return AddText(std::to_string(value)); }
    bool number_unsigned(number_unsigned_t value) override { return AddText(std::to_string(value)); }
    bool number_float(number_float_t, const string_t &written) override {
        // The library writes the locale's decimal separator into it.
        std::string text = written;
        std::replace(text.begin(), text.end(), ',', '.');
        return AddText(text);
    }
    bool string(string_t &value) override { return AddText(value); }
    bool binary(binary_t &) override { return false; }
    bool start_object(std::size_t) override { return Open(JsonNode::Kind::Object); }
    bool key(string_t &name) override {
        name_ = name;
        return true;
    }
    bool end_object() override { return Close(); }
    bool start_array(std::size_t) override { return Open(JsonNode::Kind::List); }
    bool end_array() override { return Close(); }
    bool parse_error(std::size_t position, const std::string &,
                     const nlohmann::detail::exception &error) override {
        constexpr int OutOfRange = 406;
        errorAt_ = position;
        reason_ = error.id == OutOfRange ? NumberTooLarge : NoJson;
        return false;
    }

    /// Where the document was given up, counted from 1; nothing when that was at no particular place.
    std::optional<std::size_t> ErrorAt() const { return errorAt_; }
    /// Why it was.
    const TextPair &Reason() const { return reason_; }

private:
    JsonNode &Add(JsonNode node) {
        node.name = std::exchange(name_, {});
        if (open_.empty())
            return root_ = std::move(node);
        return open_.back()->children.emplace_back(std::move(node));
    }

    bool AddText(std::string text) {
        Add({.text = std::move(text)});
        return true;
    }

    bool Open(JsonNode::Kind kind) {
        open_.push_back(&Add({.kind = kind}));
        return open_.size() <= DeepestLevel;
    }

    bool Close() {
        open_.pop_back();
        return true;
    }

    JsonNode &root_;
    std::vector<JsonNode *> open_; ///< only the last one gets children, so that the others stay in place
    std::string name_;
    std::optional<std::size_t> errorAt_;
    TextPair reason_ = TooDeep;
};

/// Takes the rows out of a document.
class DocumentReader {
public:
    ReadFields Read(const JsonNode &root) {
        if (root.kind != JsonNode::Kind::Object) {
            Refuse("", root, ObjectNeeded);
            return std::move(result_);
        }
        std::set<std::string_view> names;
        for (const JsonNode &member : root.children) {
            if (!TakeMember(member))
                Refuse("", member, MemberUnknown);
            else if (!names.insert(member.name).second)
                Refuse("", member, MemberRepeated);
        }
        return std::move(result_);
    }

private:
    void Refuse(std::string place, const JsonNode &node, const TextPair &reason,
                const std::string &detail = {}) {
        result_.problems.push_back({{order_, std::move(place)}, node.name, node.text, reason, detail});
    }

    /// @return false when there is no such member
    bool TakeMember(const JsonNode &member) {
        ++order_;
        const bool isFormat = member.name == FormatMember;
        if (isFormat || member.name == VersionMember) {
            const std::string needed = isFormat ? FormatName : std::to_string(FormatVersion);
            if (member.kind != JsonNode::Kind::Scalar || member.text != needed)
                Refuse("", member, FormatNeeded, needed);
            return true;
        }
        for (const FieldTable table : AllTables) {
            if (member.name != ShapeOf(table).member)
                continue;
            if (table == FieldTable::Settings || table == FieldTable::Band)
                TakePairs(member, table);
            else
                TakeList(member, table);
            return true;
        }
        return false;
    }

    /// An object whose members are rows of a name and a value.
    void TakePairs(const JsonNode &node, FieldTable table) {
        if (node.kind != JsonNode::Kind::Object)
            return Refuse("", node, ObjectNeeded);
        for (const JsonNode &child : node.children) {
            ++order_;
            if (child.kind == JsonNode::Kind::Scalar)
                result_.rows.push_back(
                    {table, {child.name, child.text}, {order_, node.name + "." + child.name}});
            else
                Refuse(node.name, child, ValueNeeded);
        }
    }

    void TakeList(const JsonNode &node, FieldTable table) {
        if (node.kind != JsonNode::Kind::List)
            return Refuse("", node, ListNeeded);
        for (std::size_t i = 0; i < node.children.size(); ++i) {
            ++order_;
            const std::string place = node.name + "[" + std::to_string(i) + "]";
            if (node.children[i].kind == JsonNode::Kind::Object)
                TakeRow(node.children[i], table, place);
            else
                Refuse(place, node.children[i], ObjectNeeded);
        }
    }

    void TakeRow(const JsonNode &node, FieldTable table, const std::string &place) {
        const std::vector<FieldColumn> &columns = ShapeOf(table).columns;
        FieldRow row{table, FieldCells(columns.size()), {order_, place}};
        for (const JsonNode &cell : node.children) {
            const auto column = std::find_if(columns.begin(), columns.end(),
                                             [&cell](const FieldColumn &c) { return c.member == cell.name; });
            if (column == columns.end()) {
                Refuse(place, cell, MemberUnknown);
                continue;
            }
            std::optional<std::string> &text = row.cells[static_cast<std::size_t>(column - columns.begin())];
            if (cell.kind != JsonNode::Kind::Scalar)
                Refuse(place, cell, ValueNeeded);
            else if (text)
                Refuse(place, cell, MemberRepeated);
            text = cell.text;
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
    const bool isPair = difference.table == FieldTable::Settings || difference.table == FieldTable::Band;
    Json row{{"table", MemberName(shape.member)}};
    if (!isPair)
        row[MemberName(shape.columns.front().member)] = ValueOf(difference.row);
    row["field"] = isPair ? difference.row : MemberName(shape.columns[difference.column].member);
    row["first"] = ValueOf(difference.first);
    row["second"] = ValueOf(difference.second);
    return row;
}

} // namespace

std::string FieldsAsJson(const std::vector<FieldRow> &rows) {
    Json document{{FormatMember, FormatName}, {VersionMember, FormatVersion}};
    for (const FieldTable table :
         {FieldTable::Band, FieldTable::Settings, FieldTable::Channels, FieldTable::Tuning}) {
        const bool isPairs = table == FieldTable::Settings || table == FieldTable::Band;
        document[MemberName(ShapeOf(table).member)] =
            isPairs ? PairsAsJson(rows, table) : ListAsJson(rows, table);
    }
    return DumpJson(document);
}

ReadFields FieldsFromJson(std::string_view text, Language language) {
    JsonNode root;
    NodeBuilder builder(root);
    if (Json::sax_parse(text.begin(), text.end(), &builder))
        return DocumentReader().Read(root);
    const auto position = builder.ErrorAt();
    const FieldPlace place = position ? PlaceInText(text, *position, language) : FieldPlace();
    ReadFields nothing;
    nothing.problems.push_back({place, "", "", builder.Reason()});
    return nothing;
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
