// The join graph of a source: which physical joins tie its tables, in which direction.
#pragma once

#include "elements/description.h"

namespace qorl::elements::children {

// One "Link" element per node of a JoinGraph, with its start node and its
// joins; a part of kind Child with the kRepeats flag, since the links stand
// in the element without a wrapper.
extern const ChildCodec& kJoinGraph;

}  // namespace qorl::elements::children
