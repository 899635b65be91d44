#include "exchange/ImageCsv.h"

#include "exchange/FieldTexts.h"

#include <algorithm>
#include <array>
#include <utility>

namespace k470 {

namespace {

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
constexpr char Quote = '"';

constexpr TextPair LinePlace{"line {}", "第 {} 行"};
constexpr TextPair QuoteOpen{"a quotation mark is not closed", "引号没有结束"};
constexpr TextPair QuoteInside{"a quotation mark inside a cell must be doubled, and the cell quoted",
                               "单元格内的引号须双写，并将单元格用引号括起"};
constexpr TextPair HeaderNeeded{"a header is needed that begins with Channel, Setting, Band or Segment",
                                "应有以 Channel、Setting、Band 或 Segment 开头的表头"};
constexpr TextPair TableRepeated{"there is a table of this kind already", "已有同类的表"};
constexpr TextPair ColumnUnknown{"no such column", "没有这样的列"};
constexpr TextPair ColumnRepeated{"there is a column of this name already", "已有同名的列"};
constexpr TextPair CellOutside{"the cell is in no column", "单元格不属于任何一列"};

struct CsvLine {
    std::size_t number; ///< of its first line in the file, from 1
    std::vector<std::string> cells;
};

FieldPlace PlaceOf(std::size_t number, Language language) {
    return {number, Phrase(language, LinePlace, {std::to_string(number)})};
}

/// The end of a line may have a second character before it.
std::string Trimmed(std::string_view text) {
    constexpr std::string_view Blanks = " \t\r";
    text.remove_prefix(std::min(text.find_first_not_of(Blanks), text.size()));
    return std::string(text.substr(0, text.find_last_not_of(Blanks) + 1));
}

bool IsNumberWithComma(std::string_view text) {
    return std::count(text.begin(), text.end(), ',') == 1 &&
           text.find_first_not_of("0123456789,") == std::string_view::npos;
}

/// The separator that comes first in the first line that has anything else.
char SeparatorOf(std::string_view text) {
    constexpr char Comma = ',';
    const std::size_t start = std::min(text.find_first_not_of(",; \t\r\n"), text.size());
    const std::string_view line = text.substr(start, text.find('\n', start) - start);
    const std::size_t at = line.find_first_of(",;");
    return at == std::string_view::npos ? Comma : line[at];
}

/// Takes text apart into lines of cells.
class CsvScanner {
public:
    explicit CsvScanner(std::string_view text) : rest_(text), separator_(SeparatorOf(text)) {}

    bool AtEnd() const { return rest_.empty(); }

    /// The next line without the empty cells at its end. What follows a line that is none can still be read.
    /// @return why it is none
    std::optional<TextPair> NextLine(CsvLine &line) {
        line = {number_, {}};
        std::optional<TextPair> reason;
        for (bool more = true; more && !reason;) {
            std::string cell;
            reason = rest_.starts_with(Quote) ? NextQuoted(cell) : NextPlain(cell);
            if (separator_ == ';' && IsNumberWithComma(cell))
                std::replace(cell.begin(), cell.end(), ',', '.');
            line.cells.push_back(std::move(cell));
            more = rest_.starts_with(separator_);
            rest_.remove_prefix(more ? 1 : 0);
        }
        while (!line.cells.empty() && line.cells.back().empty())
            line.cells.pop_back();
        rest_.remove_prefix(std::min(rest_.find(LineEnd), rest_.size()));
        rest_.remove_prefix(rest_.empty() ? 0 : 1);
        ++number_;
        return reason;
    }

private:
    static constexpr char LineEnd = '\n';

    bool AtCellEnd() const {
        return rest_.empty() || rest_.starts_with(separator_) || rest_.starts_with(LineEnd) ||
               rest_.starts_with("\r\n");
    }

    std::optional<TextPair> NextPlain(std::string &cell) {
        const std::array<char, 2> ends{separator_, LineEnd};
        const std::size_t length =
            std::min(rest_.find_first_of(std::string_view(ends.data(), ends.size())), rest_.size());
        cell = Trimmed(rest_.substr(0, length));
        rest_.remove_prefix(length);
        return cell.find(Quote) == std::string::npos ? std::nullopt : std::optional(QuoteInside);
    }

    std::optional<TextPair> NextQuoted(std::string &cell) {
        std::size_t at = 1;
        for (; at < rest_.size(); ++at) {
            if (rest_[at] == Quote && !rest_.substr(at + 1).starts_with(Quote))
                break;
            at += rest_[at] == Quote ? 1 : 0; // of two, one counts
            number_ += rest_[at] == LineEnd ? 1 : 0;
            cell += rest_[at];
        }
        const bool closed = at < rest_.size();
        rest_.remove_prefix(closed ? at + 1 : at);
        if (!closed)
            return QuoteOpen;
        cell = Trimmed(cell);
        return AtCellEnd() ? std::nullopt : std::optional(QuoteInside);
    }

    std::string_view rest_;
    char separator_;
    std::size_t number_ = 1;
};

class CsvReader {
public:
    CsvReader(std::string_view text, Language language) : scanner_(text), language_(language) {}

    ReadFields Read() {
        while (!scanner_.AtEnd()) {
            CsvLine line{};
            if (const auto reason = scanner_.NextLine(line))
                Refuse(line, "", "", *reason);
            else if (!line.cells.empty() && !TakeLine(line))
                break;
        }
        if (!table_ && result_.problems.empty())
            Refuse({1, {}}, "", "", HeaderNeeded);
        return std::move(result_);
    }

private:
    void Refuse(const CsvLine &line, std::string_view field, const std::string &value,
                const TextPair &reason) {
        result_.problems.push_back({PlaceOf(line.number, language_), std::string(field), value, reason});
    }

    /// @return false when nothing that follows can be understood
    bool TakeLine(const CsvLine &line) {
        const auto header = [&line](const FieldTableShape &shape) {
            return IsSameWord(shape.columns.front().header, line.cells.front());
        };
        for (const FieldTable table : AllTables) {
            if (header(ShapeOf(table))) {
                StartTable(line, table);
                return true;
            }
        }
        if (table_)
            TakeRow(line);
        else
            Refuse(line, "", line.cells.front(), HeaderNeeded);
        return table_.has_value();
    }

    void StartTable(const CsvLine &line, FieldTable table) {
        table_ = table;
        headers_ = line.cells;
        columns_.assign(headers_.size(), std::nullopt);
        bool &seen = seen_[static_cast<std::size_t>(table)];
        if (std::exchange(seen, true))
            Refuse(line, "", headers_.front(), TableRepeated);
        for (std::size_t i = 0; i < headers_.size(); ++i) {
            const std::optional<std::size_t> column = ColumnNamed(headers_[i]);
            if (column && std::find(columns_.begin(), columns_.end(), column) != columns_.end())
                Refuse(line, "", headers_[i], ColumnRepeated);
            else if (!column && !headers_[i].empty())
                Refuse(line, "", headers_[i], ColumnUnknown);
            else
                columns_[i] = column;
        }
    }

    std::optional<std::size_t> ColumnNamed(std::string_view header) const {
        const std::vector<FieldColumn> &columns = ShapeOf(*table_).columns;
        for (std::size_t column = 0; column < columns.size(); ++column) {
            if (IsSameWord(columns[column].header, header))
                return column;
        }
        return std::nullopt;
    }

    void TakeRow(const CsvLine &line) {
        FieldRow row{*table_, FieldCells(ShapeOf(*table_).columns.size()), PlaceOf(line.number, language_)};
        for (const std::optional<std::size_t> &column : columns_) {
            if (column)
                row.cells[*column] = "";
        }
        for (std::size_t i = 0; i < line.cells.size(); ++i) {
            if (i < columns_.size() && columns_[i])
                row.cells[*columns_[i]] = line.cells[i];
            else if (!line.cells[i].empty() && (i >= headers_.size() || headers_[i].empty()))
                Refuse(line, "", line.cells[i], CellOutside);
        }
        result_.rows.push_back(std::move(row));
    }

    CsvScanner scanner_;
    Language language_;
    std::optional<FieldTable> table_;
    std::vector<std::string> headers_;
    std::vector<std::optional<std::size_t>> columns_; ///< of the table by cell of the line
    std::array<bool, AllTables.size()> seen_{};
    ReadFields result_;
};

/// Columns of which no row says anything are left out: most images need no raw bytes.
std::vector<std::size_t> UsedColumns(const std::vector<FieldRow> &rows, FieldTable table) {
    std::vector<std::size_t> used;
    for (std::size_t column = 0; column < ShapeOf(table).columns.size(); ++column) {
        const bool isUsed = std::any_of(rows.begin(), rows.end(), [=](const FieldRow &row) {
            return row.table == table && row.cells[column].has_value();
        });
        if (isUsed || column != RawColumn)
            used.push_back(column);
    }
    return used;
}

/// None of the texts needs quotation marks.
std::string JoinedLine(const std::vector<std::string> &cells) {
    std::string text;
    for (std::size_t i = 0; i < cells.size(); ++i)
        text += (i == 0 ? "" : ",") + cells[i];
    return text + "\n";
}

} // namespace

std::string FieldsAsCsv(const std::vector<FieldRow> &rows) {
    std::string text;
    for (const FieldTable table : AllTables) {
        const std::vector<std::size_t> columns = UsedColumns(rows, table);
        std::vector<std::string> cells;
        cells.reserve(columns.size());
        for (const std::size_t column : columns)
            cells.emplace_back(ShapeOf(table).columns[column].header);
        text += (text.empty() ? "" : "\n") + JoinedLine(cells);
        for (const FieldRow &row : rows) {
            if (row.table != table)
                continue;
            cells.clear();
            for (const std::size_t column : columns)
                cells.push_back(row.cells[column].value_or(""));
            text += JoinedLine(cells);
        }
    }
    return text;
}

ReadFields FieldsFromCsv(std::string_view text, Language language) {
    if (text.starts_with(ByteOrderMark))
        text.remove_prefix(ByteOrderMark.size());
    return CsvReader(text, language).Read();
}

} // namespace k470
