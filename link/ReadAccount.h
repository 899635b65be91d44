#pragma once

#include "core/MemoryMap.h"

#include <bitset>
#include <optional>
#include <vector>

namespace k470 {

/// Keeps account of the lines of a read, so that no line is told as received that may be wrong.
///
/// A line is received when its reply bore its own header, nothing came with it, its acknowledge was one byte
/// at the first asking, and the next reply began in step, which its header shows. Some radios use headers of
/// their own: unless the replies bear the headers of two lines at least (those of one may come by chance),
/// headers say nothing, and a line is received that was stored and acknowledged as above.
///
/// The calls follow the session, in its order.
class ReadAccount {
public:
    /// The session starts from the handshake: no line is due, none has come.
    void Clear();
    /// The step of the line was reached.
    void Expect(int line);
    /// A reply was stored for the line. @param header the line whose header the reply bears, if any
    void Store(int line, std::optional<int> header);
    /// The acknowledge of the line stored last was good.
    void Acknowledge();
    /// Something came that no frame asked for, or sooner than it can have been asked for: the line stored
    /// last may be wrong.
    void DoubtLast();
    /// The same, found before the request of a line: the reply to it will not begin in step.
    void DoubtRequested(int line);
    /// A frame is repeated. @param inStep whether what has come in its place, if anything, began as its reply
    void Repeat(bool inStep);

    bool IsExpected(int line) const;
    bool IsReceived(int line) const;

private:
    using Lines = std::bitset<LineCount>;

    Lines due_;
    Lines stored_;
    Lines headers_;     ///< whose header any reply has borne
    Lines ownHeader_;   ///< among them those under their own header
    Lines doubtful_;    ///< whatever the headers say
    Lines misfollowed_; ///< the reply after them bore another header than that of its line

    std::optional<int> last_;   ///< the line stored last, until it is sure that its exchange is over
    bool acknowledged_ = false; ///< whether its acknowledge was good
};

} // namespace k470
