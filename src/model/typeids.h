// Type numbers: the interface type of every element and store class. The
// store's classes take theirs from classes.def; the registry, the codecs and
// the descriptions all speak in these numbers.
#pragma once

#include <cstdint>
#include <vector>

namespace qorl {

using TypeID = int32_t;
using TypeIDVector = std::vector<TypeID>;
using uint16 = uint16_t;
using uint32 = uint32_t;

// Type numbers. Store classes take theirs from classes.def.
enum : TypeID {
  kTIDUnknown = 0,
  kTIDUInt8 = 1,
  kTIDVoidID = 20,
  kNumBuiltInTypes = 21,
  kTIDRpObject = 502,
  kTIDAUnknownObject = 503,
  kTIDUnknownObject = 504,
  kTIDRelID = 1000,
  kTIDExtensionArchive = 1008,
  kTIDFirstExternalRepositoryTypeID = 1500,
  kTIDColumn = 3004,
  kTIDAShortCut = 2039,
  kTIDInitBlock = 3034,
  kTIDSessionVariableBlock = 3034,
  kBeginLogicalTypes = 2000, kEndLogicalTypes = 2060,
  kBeginPhysicalTypes = 3000, kEndPhysicalTypes = 3066,
  kBeginMappingTypes = 3900, kEndMappingTypes = 3908,
  kBeginPresentationTypes = 4000, kEndPresentationTypes = 4032,
  kBeginSecurityTypes = 4200, kEndSecurityTypes = 4219,
  // Elements that carry no store object of their own.
  kTIDColMapping = 1,
  kTIDSetPermission = 4220,
#define QORL_CLASS(C, B, N, K) kTID##C = N,
#include "model/classes.def"
#undef QORL_CLASS
  kTIDAInitBlock = 3033,
};

}  // namespace qorl
