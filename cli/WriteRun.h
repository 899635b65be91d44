#pragma once

#include "cli/RadioRun.h"

namespace k470 {

// Commands whose image file goes into the radio or is compared with it. What became of it is in the run's
// report. @return whether all went well

/// Keeps the radio's own image, writes, reads back and compares, as far as the arguments ask for it.
bool WriteFileToRadio(RadioRun &run);

/// Compares what a write of the file transfers with what the radio holds.
bool VerifyFile(RadioRun &run);

} // namespace k470
