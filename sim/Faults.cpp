#include "sim/Faults.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <utility>

namespace k470 {

namespace {

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint8_t AckByte = 0x06;
constexpr std::size_t HeaderSize = 4; ///< of a line

constexpr unsigned Bit(ReplyKind kind) {
    return 1U << static_cast<unsigned>(kind);
}

constexpr unsigned Acknowledges = Bit(ReplyKind::Acknowledge) | Bit(ReplyKind::LineAcknowledge);
constexpr unsigned AnyData = Bit(ReplyKind::Identification) | Bit(ReplyKind::Line);
constexpr unsigned Replies = Acknowledges | AnyData;
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

void DropReply(FaultInjector::Outcome &outcome, std::mt19937 &) {
    outcome.reply.bytes.clear();
}

void CutData(FaultInjector::Outcome &outcome, std::mt19937 &random) {
    Bytes &bytes = outcome.reply.bytes;
    bytes.resize(1 + Draw(random, bytes.size() - 1));
}

void AppendNoise(FaultInjector::Outcome &outcome, std::mt19937 &random) {
    outcome.reply.bytes.push_back(DrawNoise(random));
}

void ReplaceByNoise(FaultInjector::Outcome &outcome, std::mt19937 &random) {
    outcome.reply.bytes.assign(1, DrawNoise(random));
}

void DelayReply(FaultInjector::Outcome &outcome, std::mt19937 &) {
    outcome.reply.delayMs = LateReplyMs;
}

void FlipBits(FaultInjector::Outcome &outcome, std::mt19937 &random) {
    Bytes &bytes = outcome.reply.bytes;
    const std::uint32_t index = Draw(random, bytes.size());
    const std::uint32_t bits = 1 + Draw(random, 255);
    bytes[index] = static_cast<std::uint8_t>(bytes[index] ^ bits);
}

void PrependNoise(FaultInjector::Outcome &outcome, std::mt19937 &random) {
    Bytes strays(1 + Draw(random, MaxStrayBytes));
    for (std::uint8_t &stray : strays)
        stray = DrawNoise(random);
    Bytes &bytes = outcome.reply.bytes;
    bytes.insert(bytes.begin(), strays.begin(), strays.end());
}

void HangUpLine(FaultInjector::Outcome &outcome, std::mt19937 &) {
    outcome.reply.bytes.clear();
    outcome.reply.hangUp = true;
}

void LeaveReply(FaultInjector::Outcome &, std::mt19937 &) {
}

void DoubleReply(FaultInjector::Outcome &outcome, std::mt19937 &) {
    outcome.second = outcome.reply;
}

void DoubleReplyLate(FaultInjector::Outcome &outcome, std::mt19937 &) {
    outcome.second = outcome.reply;
    outcome.second->delayMs = LateDoubleMs;
}

/// Behind the header of a line, so that a program sees a good one.
void InsertByte(FaultInjector::Outcome &outcome, std::mt19937 &random) {
    Bytes &bytes = outcome.reply.bytes;
    const std::size_t index = HeaderSize + Draw(random, bytes.size() - HeaderSize);
    bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(index),
                 static_cast<std::uint8_t>(Draw(random, 256)));
}

void ReplaceHeader(FaultInjector::Outcome &outcome, std::mt19937 &) {
    constexpr std::array<std::uint8_t, HeaderSize> OwnHeader{0x4B, 0x34, 0x37, 0x30};
    std::copy(OwnHeader.begin(), OwnHeader.end(), outcome.reply.bytes.begin());
}

struct KindRow {
    FaultKind kind;
    std::string_view name;
    std::string_view help;
    unsigned strikes; ///< bits of the kinds of reply that it can strike
    bool lineStored;  ///< whether the acknowledge of a line still leaves as such
    void (*spoil)(FaultInjector::Outcome &, std::mt19937 &); ///< called only with a reply that it can strike
    bool lasts = false; ///< strikes at later steps too, the identification excepted
};

constexpr std::array<KindRow, 13> KindTable{{
    {FaultKind::NoReply, "no-reply", "the radio stays silent", Replies, false, DropReply},
    {FaultKind::ShortData, "short-data", "identification or line data stop early", AnyData, false, CutData},
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
    {FaultKind::DoubleAck, "double-ack", "an acknowledge comes twice, at once", Acknowledges, true,
     DoubleReply},
    {FaultKind::LateDoubleAck, "late-double-ack", "an acknowledge comes twice, 1 ms apart", Acknowledges,
     true, DoubleReplyLate},
    {FaultKind::InsertedByte, "inserted-byte", "one byte too many among those of a line",
     Bit(ReplyKind::Line), false, InsertByte},
    {FaultKind::OwnHeaders, "own-headers",
     "lines from STEP on, all without COUNT, bear a header without address", Bit(ReplyKind::Line), true,
     ReplaceHeader, true},
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
    Fault fault{.kind = *kind, .step = *step, .count = RowOf(*kind).lasts ? MaxFaultCount : 1};
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
    constexpr std::size_t NameWidth = 17;
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
        const bool due = fault.step == step || (row.lasts && fault.step < step);
        if (!due || fault.count == 0 || (row.strikes & Bit(kind)) == 0)
            continue;
        if (fault.after > 0) {
            --fault.after;
            continue;
        }
        --fault.count;
        row.spoil(outcome, random_);
        outcome.struck = true;
        outcome.lineStored = row.lineStored;
        strikes_.push_back({fault.kind, step});
        break;
    }
    return outcome;
}

} // namespace k470
