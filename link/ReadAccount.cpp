#include "link/ReadAccount.h"

#include <cstddef>

namespace k470 {

namespace {

std::size_t At(int line) {
    return static_cast<std::size_t>(line);
}

} // namespace

void ReadAccount::Clear() {
    *this = ReadAccount();
}

void ReadAccount::Expect(int line) {
    due_.set(At(line));
}

void ReadAccount::Store(int line, std::optional<int> header) {
    const bool ownHeader = header == line;
    if (header)
        headers_.set(At(*header));
    if (last_)
        misfollowed_.set(At(*last_), !ownHeader);
    stored_.set(At(line));
    ownHeader_.set(At(line), ownHeader);
    last_ = line;
    acknowledged_ = false;
}

void ReadAccount::Acknowledge() {
    acknowledged_ = true;
}

void ReadAccount::DoubtLast() {
    if (last_)
        doubtful_.set(At(*last_));
}

void ReadAccount::DoubtRequested(int line) {
    doubtful_.set(At(line));
}

void ReadAccount::Repeat(bool inStep) {
    if (last_ && !acknowledged_)
        doubtful_.set(At(*last_));
    else if (last_)
        misfollowed_.set(At(*last_), !inStep);
    last_.reset();
}

bool ReadAccount::IsExpected(int line) const {
    return due_[At(line)];
}

bool ReadAccount::IsReceived(int line) const {
    const std::size_t at = At(line);
    const bool headersTell = headers_.count() > 1;
    return stored_[at] && !doubtful_[at] && (!headersTell || (ownHeader_[at] && !misfollowed_[at]));
}

} // namespace k470
