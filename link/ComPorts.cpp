#include "link/ComPorts.h"

#include "core/AppState.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace k470 {

namespace {

constexpr int LastPortNumber = 255;
constexpr int FirstFreeNumber = 69;
constexpr std::string_view PortPrefix = "COM";
constexpr std::string_view Blanks = " \t\r\n\f\v";

/// Devices `prefix`0 to `prefix`(count - 1) are COM`first` and the numbers that follow.
struct FixedRange {
    std::string_view prefix;
    int first;
    int count;
};

constexpr std::array<FixedRange, 3> FixedRanges{{{"ttyS", 1, 4}, {"ttyUSB", 5, 32}, {"ttyACM", 37, 32}}};

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

char UpperCase(char c) {
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

std::string_view Trim(std::string_view text) {
    const std::size_t first = text.find_first_not_of(Blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(Blanks) - first + 1);
}

/// @return the number, nothing when the text is anything but digits or the number does not fit
std::optional<int> WholeNumber(std::string_view digits) {
    int value = 0;
    const char *const end = digits.data() + digits.size();
    if (!std::all_of(digits.begin(), digits.end(), IsDigit))
        return std::nullopt;
    const auto [stop, error] = std::from_chars(digits.data(), end, value);
    if (error != std::errc{} || stop != end)
        return std::nullopt;
    return value;
}

std::optional<ComPort> ParseEntry(std::string_view entry) {
    const std::size_t equals = entry.find('=');
    if (equals == std::string_view::npos)
        return std::nullopt;
    const std::optional<std::uint8_t> number = PortNumberFromName(Trim(entry.substr(0, equals)));
    const std::string_view device = Trim(entry.substr(equals + 1));
    // No path holds a NUL: the system would open what stands before it.
    if (!number || device.empty() || device.find('\0') != std::string_view::npos)
        return std::nullopt;
    return ComPort{.number = *number, .device = std::string(device), .description = {}};
}

/// A "#" inside a path is part of the path: only one at the start or after a blank starts a comment.
std::string_view WithoutComment(std::string_view line) {
    for (std::size_t i = line.find('#'); i != std::string_view::npos; i = line.find('#', i + 1))
        if (i == 0 || Blanks.find(line[i - 1]) != std::string_view::npos)
            return line.substr(0, i);
    return line;
}

void AppendEntry(ComPortTable &table, std::optional<ComPort> entry) {
    if (entry && FindComPort(table, entry->number) == nullptr)
        table.push_back(*std::move(entry));
}

/// Calls `take` with each piece of the text between separators.
template <typename Take>
void ForEachPiece(std::string_view text, char separator, Take take) {
    while (true) {
        const std::size_t end = text.find(separator);
        take(text.substr(0, end));
        if (end == std::string_view::npos)
            return;
        text.remove_prefix(end + 1);
    }
}

/// Cuts the run of digits off the front of the text. @return the run without its leading zeros
std::string_view TakeDigits(std::string_view &text) {
    const auto length =
        static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), IsDigit) - text.begin());
    std::string_view run = text.substr(0, length);
    text.remove_prefix(length);
    run.remove_prefix(std::min(run.find_first_not_of('0'), run.size()));
    return run;
}

/// Name order as people count: runs of digits compare as numbers, so that ttyXR2 comes before ttyXR10.
bool NameComesBefore(std::string_view left, std::string_view right) {
    std::string_view a = left;
    std::string_view b = right;
    while (!a.empty() && !b.empty()) {
        if (IsDigit(a.front()) && IsDigit(b.front())) {
            const std::string_view runA = TakeDigits(a);
            const std::string_view runB = TakeDigits(b);
            if (runA != runB)
                return std::pair(runA.size(), runA) < std::pair(runB.size(), runB);
            continue;
        }
        if (a.front() != b.front())
            return a.front() < b.front();
        a.remove_prefix(1);
        b.remove_prefix(1);
    }
    // Names that differ in leading zeros only keep an order of their own.
    return a.empty() && b.empty() ? left < right : a.empty();
}

/// @return the number that the fixed rule gives to a device name, nothing when the rule does not name it
std::optional<int> FixedNumber(std::string_view name) {
    for (const FixedRange &range : FixedRanges) {
        if (!name.starts_with(range.prefix))
            continue;
        const std::string_view digits = name.substr(range.prefix.size());
        const std::optional<int> index = WholeNumber(digits);
        if (index && *index < range.count && digits == std::to_string(*index))
            return range.first + *index;
    }
    return std::nullopt;
}

/// The numbers that are given away, and the way to give one away.
class PortNumbers {
public:
    /// @return whether the number was free
    bool Take(int number) {
        return number >= 1 && number <= LastPortNumber && !std::exchange(taken_[IndexOf(number)], true);
    }

    /// @return the next free number from FirstFreeNumber, nothing when all are taken
    std::optional<int> TakeNextFree() {
        for (int number = FirstFreeNumber; number <= LastPortNumber; ++number)
            if (Take(number))
                return number;
        return std::nullopt;
    }

private:
    static std::size_t IndexOf(int number) { return static_cast<std::size_t>(number); }

    std::array<bool, LastPortNumber + 1> taken_{};
};

/// Numbers the system's devices. @return the entries in the order of their numbers
ComPortTable NumberDevices(std::vector<SystemDevice> devices, PortNumbers &numbers) {
    std::stable_sort(devices.begin(), devices.end(), [](const SystemDevice &a, const SystemDevice &b) {
        return NameComesBefore(a.name, b.name);
    });
    ComPortTable table;
    std::vector<SystemDevice> others;
    for (SystemDevice &device : devices) {
        const std::optional<int> number = FixedNumber(device.name);
        if (number && numbers.Take(*number))
            table.push_back({*number, std::move(device.device), std::move(device.description)});
        else
            others.push_back(std::move(device));
    }
    for (SystemDevice &device : others)
        if (const std::optional<int> number = numbers.TakeNextFree())
            table.push_back({*number, std::move(device.device), std::move(device.description)});
    std::sort(table.begin(), table.end(),
              [](const ComPort &a, const ComPort &b) { return a.number < b.number; });
    return table;
}

} // namespace

std::string ComPortName(int number) {
    return std::string(PortPrefix) + std::to_string(number);
}

std::optional<std::uint8_t> PortNumberFromName(std::string_view name) {
    const std::string_view prefix = name.substr(0, PortPrefix.size());
    if (!std::equal(prefix.begin(), prefix.end(), PortPrefix.begin(), PortPrefix.end(),
                    [](char a, char b) { return UpperCase(a) == b; }))
        return std::nullopt;
    const std::optional<int> number = WholeNumber(name.substr(PortPrefix.size()));
    if (!number || *number < 1 || *number > LastPortNumber)
        return std::nullopt;
    return static_cast<std::uint8_t>(*number);
}

ComPortTable ParsePortVariable(std::string_view text) {
    ComPortTable table;
    ForEachPiece(text, ';', [&table](std::string_view entry) { AppendEntry(table, ParseEntry(entry)); });
    return table;
}

ComPortTable ParsePortFile(std::string_view text) {
    ComPortTable table;
    ForEachPiece(text, '\n',
                 [&table](std::string_view line) { AppendEntry(table, ParseEntry(WithoutComment(line))); });
    return table;
}

ComPortTable BuildComPortTable(ComPortTable userEntries, std::vector<SystemDevice> devices) {
    PortNumbers numbers;
    ComPortTable table;
    for (ComPort &entry : userEntries)
        if (numbers.Take(entry.number))
            table.push_back(std::move(entry));
    for (ComPort &entry : NumberDevices(std::move(devices), numbers))
        table.push_back(std::move(entry));
    return table;
}

std::vector<std::string> EnumComPorts(AppState &state, const ComPortTable &table) {
    std::vector<std::string> names;
    for (const ComPort &port : table)
        names.push_back(ComPortName(port.number));
    if (names.empty())
        names.emplace_back();
    state.comPortList = names;
    return names;
}

const ComPort *FindComPort(const ComPortTable &table, int number) {
    const auto found = std::find_if(table.begin(), table.end(),
                                    [number](const ComPort &port) { return port.number == number; });
    return found == table.end() ? nullptr : &*found;
}

} // namespace k470
