#pragma once

#include "core/MemoryImage.h"

namespace k470 {

/// The memory of a radio in service: channels 0 to `channels` - 1 are programmed, each one differently, in
/// the band 400 to 480 MHz; every tenth one is receive-only. The bytes that nobody explains differ by
/// address, so that a line stored at a wrong place shows. The records are in the form in which a program
/// stores them: shown and stored unchanged, no byte changes.
/// @param channels 0 to 99
MemoryImage MakeSampleMemory(int channels);

} // namespace k470
