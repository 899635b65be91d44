#include "sim/Faults.h"

#include <array>
#include <charconv>
#include <utility>

namespace k470 {

namespace {

constexpr std::uint8_t AckByte = 0x06;

constexpr unsigned Bit(ReplyKind kind) {
    return 1U << static_cast<unsigned>(kind);
}

constexpr unsigned Acknowledges = Bit(ReplyKind::Acknowledge) | Bit(ReplyKind::LineAcknowledge);
constexpr unsigned Replies = Acknowledges | Bit(ReplyKind::Data);
constexpr unsigned Everything = Replies | Bit(ReplyKind::End);

/// From 0 to below `end`. The standard distributions differ between libraries, a seed must not.
std::uint32_t Draw(std::mt19937 &random, std::size_t end) {
    return static_cast<std::uint32_t>(random() % end);
}

/// A byte that no one takes for an acknowledge.
std::uint8_t DrawNoise(std::mt19937 &random) {
    const auto noise = static_cast<std::uint8_t>(Draw(random, 255));
    return noise >= AckByte ? static_cast<std::uint8_t>(noise + 1) : noise;
}

void DropReply(Reply &reply, std::mt19937 &) {
    reply.bytes.clear();
}

void CutData(Reply &reply, std::mt19937 &random) {
    reply.bytes.resize(1 + Draw(random, reply.bytes.size() - 1));
}

void AppendNoise(Reply &reply, std::mt19937 &random) {
    reply.bytes.push_back(DrawNoise(random));
}

void ReplaceByNoise(Reply &reply, std::mt19937 &random) {
    reply.bytes.assign(1, DrawNoise(random));
}

void DelayReply(Reply &reply, std::mt19937 &) {
    reply.delayMs = LateReplyMs;
}

void FlipBits(Reply &reply, std::mt19937 &random) {
    const std::uint32_t index = Draw(random, reply.bytes.size());
    const std::uint32_t bits = 1 + Draw(random, 255);
    reply.bytes[index] = static_cast<std::uint8_t>(reply.bytes[index] ^ bits);
}

void PrependNoise(Reply &reply, std::mt19937 &random) {
    std::vector<std::uint8_t> strays(1 + Draw(random, MaxStrayBytes));
    for (std::uint8_t &stray : strays)
        stray = DrawNoise(random);
    reply.bytes.insert(reply.bytes.begin(), strays.begin(), strays.end());
}

void HangUpLine(Reply &reply, std::mt19937 &) {
    reply.bytes.clear();
    reply.hangUp = true;
}

void LeaveReply(Reply &, std::mt19937 &) {
}

struct KindRow {
    FaultKind kind;
    std::string_view name;
    std::string_view help;
    unsigned strikes;                       ///< bits of the kinds of reply that it can strike
    bool lineStored;                        ///< whether the acknowledge of a line still leaves as such
    void (*spoil)(Reply &, std::mt19937 &); ///< called only with a reply of a kind that it can strike
};

constexpr std::array<KindRow, 9> KindTable{{
    {FaultKind::NoReply, "no-reply", "the radio stays silent", Replies, false, DropReply},
    {FaultKind::ShortData, "short-data", "identification or line data stop early", Bit(ReplyKind::Data),
     false, CutData},
    {FaultKind::ExtraByte, "extra-byte", "one more byte follows the reply", Everything, true, AppendNoise},
    {FaultKind::WrongAck, "wrong-ack", "another byte instead of 06; strikes acknowledges only", Acknowledges,
     false, ReplaceByNoise},
    {FaultKind::LateReply, "late-reply", "the reply begins 400 ms late", Replies, true, DelayReply},
    {FaultKind::FlippedBits, "flipped-bits", "some bits of one byte are wrong", Replies, false, FlipBits},
    {FaultKind::StrayBytes, "stray-bytes", "1 to 24 other bytes come before the reply", Everything, true,
     PrependNoise},
    {FaultKind::HangUp, "hang-up", "the radio leaves the line instead of replying", Everything, false,
     HangUpLine},
    {FaultKind::NoStore, "no-store", "a written line is acknowledged and not stored",
     Bit(ReplyKind::LineAcknowledge), false, LeaveReply},
}};

const KindRow &RowOf(FaultKind kind) {
    return KindTable[static_cast<std::size_t>(kind)];
}

/// @return nothing unless the whole text is one number from `low` to `high`
std::optional<int> ParseNumber(std::string_view text, int low, int high) {
    int number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc{} || end != text.data() + text.size() || number < low || number > high)
        return std::nullopt;
    return number;
}

std::optional<FaultKind> KindFromName(std::string_view name) {
    for (const KindRow &row : KindTable)
        if (row.name == name)
            return row.kind;
    return std::nullopt;
}

std::string KindNames() {
    std::string names;
    for (const KindRow &row : KindTable)
        names += (names.empty() ? "" : ", ") + std::string(row.name);
    return names;
}

ParsedFault Refuse(std::string_view text, const std::string &reason) {
    return {std::nullopt, "fault \"" + std::string(text) + "\": " + reason};
}

} // namespace

ParsedFault ParseFault(std::string_view text) {
    const std::size_t at = text.find('@');
    if (at == std::string_view::npos)
        return Refuse(text, "the form is KIND@STEP or KIND@STEPxCOUNT");
    const std::optional<FaultKind> kind = KindFromName(text.substr(0, at));
    if (!kind)
        return Refuse(text, "the kind is none of " + KindNames());
    const std::string_view place = text.substr(at + 1);
    const std::size_t times = place.find('x');
    const std::optional<int> step = ParseNumber(place.substr(0, times), HandshakeStep, EndStepNumber);
    if (!step)
        return Refuse(text, "the step is no number from 0 to 110");
    Fault fault{.kind = *kind, .step = *step};
    if (times == std::string_view::npos)
        return {fault, ""};
    const std::optional<int> count = ParseNumber(place.substr(times + 1), 1, MaxFaultCount);
    if (!count)
        return Refuse(text, "the count is no number from 1 to " + std::to_string(MaxFaultCount));
    fault.count = *count;
    return {fault, ""};
}

std::string_view FaultKindName(FaultKind kind) {
    return RowOf(kind).name;
}

std::string FaultKindHelp() {
    constexpr std::size_t NameWidth = 14;
    std::string help;
    for (const KindRow &row : KindTable) {
        std::string name(row.name);
        name.resize(NameWidth, ' ');
        help += "  " + name + std::string(row.help) + "\n";
    }
    return help;
}

FaultInjector::FaultInjector(std::vector<Fault> faults, std::uint32_t seed)
    : faults_(std::move(faults)), random_(seed) {
}

FaultInjector::Outcome FaultInjector::Apply(int step, ReplyKind kind, std::vector<std::uint8_t> bytes) {
    Outcome outcome{.reply = {.bytes = std::move(bytes)}};
    for (Fault &fault : faults_) {
        const KindRow &row = RowOf(fault.kind);
        if (fault.step != step || fault.count == 0 || (row.strikes & Bit(kind)) == 0)
            continue;
        if (fault.after > 0) {
            --fault.after;
            continue;
        }
        --fault.count;
        row.spoil(outcome.reply, random_);
        outcome.struck = true;
        outcome.lineStored = row.lineStored;
        strikes_.push_back({fault.kind, step});
        break;
    }
    return outcome;
}

} // namespace k470
