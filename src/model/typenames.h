// Display names of type numbers, for messages and logs.
#pragma once

#include "platform/vxstring.h"

namespace qorl::SUStrUtil {

// A readable name for every registered type and every store class, e.g.
// "Physical Table"; "Type N" for any other number.
VXString GetTypeName(int typeId);

}  // namespace qorl::SUStrUtil
