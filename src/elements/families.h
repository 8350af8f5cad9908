// The descriptions of each element family, defined with the family.
#pragma once

#include "elements/description.h"

namespace qorl::elements {

std::span<const Description* const> PhysicalTableDescriptions();
std::span<const Description* const> PhysicalSourceDescriptions();
std::span<const Description* const> LogicalModelDescriptions();
std::span<const Description* const> LogicalSourceDescriptions();

}  // namespace qorl::elements
