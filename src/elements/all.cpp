#include <vector>

#include "elements/families.h"

namespace qorl::elements {

std::span<const Description* const> AllDescriptions() {
  static const std::vector<const Description*> all = [] {
    std::vector<const Description*> v;
    for (auto family : {
             PhysicalTableDescriptions(),
             PhysicalSourceDescriptions(),
             LogicalModelDescriptions(),
             LogicalSourceDescriptions(),
         })
      v.insert(v.end(), family.begin(), family.end());
    return v;
  }();
  return all;
}

}  // namespace qorl::elements
