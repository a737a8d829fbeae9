#include "machine_tool/stub_programs.h"

namespace machine_tool {

#include "stub_programs.inc"

}  // namespace machine_tool
