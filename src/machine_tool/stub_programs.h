#pragma once
// The diskutil and tmutil of a machine folder: the demo machine's POSIX shell
// scripts, which answer from the files beside them. The build embeds them.

namespace machine_tool {

extern const char* const kDiskutilStub;
extern const char* const kTmutilStub;

}  // namespace machine_tool
