#pragma once

// What can happen to a transfer, and what the user is told. One table: every row runs on the virtual clock;
// those that are marked run in the transfer window over a pseudo-terminal again.

#include "core/AppState.h"
#include "sim/Faults.h"
#include "tests/Files.h"

#include <sstream>

namespace k470 {

struct Scenario {
    const char *name;
    CloneMode mode;
    int channels;               ///< of the radio that is read, of the image that is written
    const char *faults;         ///< of the radio: KIND@STEP[xCOUNT] and blanks between
    int retries;                ///< how many questions are answered with Retry; later ones with Cancel
    const char *told;           ///< a word a message: ask, done, lines, disturbed
    int repetitions;            ///< that the session makes on its own
    std::vector<int> missing{}; ///< the lines that a read says it lacks
    enum Where { Session, WindowToo } where = Session;

    bool Completes() const { return std::string_view(told).find("done") != std::string_view::npos; }
    std::vector<Fault> Faults() const {
        std::vector<Fault> parsed;
        std::istringstream words(faults);
        for (std::string word; words >> word;)
            parsed.push_back(ParseFault(word).fault.value());
        return parsed;
    }
};

inline constexpr CloneMode Read = CloneMode::Read;
inline constexpr CloneMode Write = CloneMode::Write;

/// Steps: 0 the handshake, 1 the identification, r + 2 line r, 110 the end byte. The system's one port is the
/// one in use: the port search that follows seven handshakes in vain tries it once more.
inline const std::vector<Scenario> Scenarios{
    {"a healthy radio", Read, 3, "", 0, "done", 0, {}, Scenario::WindowToo},
    {"a healthy radio", Write, 3, "", 0, "done", 0, {}, Scenario::WindowToo},
    {"switched on a moment late", Read, 3, "no-reply@0", 0, "done", 1},
    {"switched on a moment late", Write, 3, "no-reply@0", 0, "done", 1},
    {"found by the port search", Read, 3, "no-reply@0x8", 0, "done", 7},
    {"nobody there", Write, 3, "no-reply@0x65535", 0, "ask", 7, {}, Scenario::WindowToo},
    {"nobody there for both questions", Read, 3, "no-reply@0x65535", 1, "ask ask", 14},
    {"back when the user retries", Read, 3, "no-reply@0x9", 1, "ask done", 7},
    {"noise for a handshake, passed over", Read, 3, "wrong-ack@0", 0, "done", 1},
    {"hung up at the handshake, found by the search", Write, 3, "hang-up@0", 0, "done", 7},
    {"hung up at the handshake twice", Read, 3, "hang-up@0x2", 1, "ask done", 7},
    {"hung up at the identification", Read, 3, "hang-up@1", 0, "ask", 7},
    {"hung up in the middle", Read, 8, "hang-up@7", 1, "ask done", 7, {}, Scenario::WindowToo},
    {"hung up in the middle", Write, 8, "hang-up@7", 0, "ask", 7, {}, Scenario::WindowToo},
    {"hung up behind the last line", Read, 3, "hang-up@110", 0, "done", 0},
    {"hung up behind the last line", Write, 3, "hang-up@110", 0, "done", 0},

    {"no identification, so that all lines are read", Read, 3, "no-reply@1", 0, "done", 1},
    {"half an identification", Read, 3, "short-data@1", 0, "done", 1},
    {"two requests unanswered",
     Read,
     5,
     "no-reply@2 no-reply@5",
     0,
     "done lines",
     2,
     {0, 3},
     Scenario::WindowToo},
    {"the last channel's, so that nothing is skipped", Read, 2, "no-reply@3", 0, "done lines", 1, {1}},
    {"the last line's", Read, 3, "no-reply@109", 0, "done lines", 1, {107}},
    {"half a line", Read, 4, "short-data@3", 0, "done lines", 1, {1}},
    {"a byte behind a line", Read, 4, "extra-byte@3", 0, "done lines", 1, {1}},
    {"a byte inside a line", Read, 4, "inserted-byte@3", 0, "done lines", 1, {1}},
    {"a line's acknowledge refused", Read, 4, "wrong-ack@3", 0, "done lines", 1, {1}},
    {"refused seven times", Read, 4, "wrong-ack@3x7", 0, "done lines", 7, {1}},
    {"refused eight times", Read, 4, "wrong-ack@3x8", 0, "ask", 7},
    {"repetitions counted over the session", Read, 4, "no-reply@0x4 wrong-ack@3x4", 0, "ask", 7},
    {"refused, silent, then healthy: no doubt is left", Read, 4, "wrong-ack@3 no-reply@4x7", 1, "ask done",
     7},
    {"silent behind the skip of channels", Read, 4, "no-reply@102x15", 1, "ask done lines", 14, {100}},
    {"headers of its own", Read, 5, "own-headers@2", 0, "done", 0},
    {"headers of its own behind a lost handshake", Read, 5, "no-reply@0 own-headers@2", 0, "done", 1},

    {"no identification", Write, 3, "no-reply@1", 0, "done disturbed", 1},
    {"a line ignored", Write, 4, "no-reply@4", 0, "done disturbed", 1, {}, Scenario::WindowToo},
    {"a line refused", Write, 4, "wrong-ack@4", 0, "done disturbed", 1},
    {"a line ignored seven times", Write, 4, "no-reply@4x7", 0, "done disturbed", 7},
    {"eight times", Write, 4, "no-reply@4x8", 0, "ask", 7},
    {"eight times, then all is written anew",
     Write,
     4,
     "no-reply@4x8",
     1,
     "ask done",
     7,
     {},
     Scenario::WindowToo},
    {"fifteen times behind the skip", Write, 5, "no-reply@102x15", 1, "ask done disturbed", 14},
    {"an acknowledge too many", Write, 10, "double-ack@5", 0, "done disturbed", 0},
    {"and a later line ignored",
     Write,
     10,
     "double-ack@5 no-reply@11",
     0,
     "done disturbed",
     0,
     {},
     Scenario::WindowToo},
    {"and a later line refused", Write, 10, "double-ack@5 wrong-ack@11", 0, "done disturbed", 1},
};

} // namespace k470
