#include "platform/velm/mpls.h"

#include <fmt/format.h>

#include <array>
#include <ostream>

#include "platform/velm/errors.h"

namespace velm {

std::ostream& operator<<(std::ostream& os, mpls_action_t action) {
   constexpr std::array names{"none", "push", "pop", "swap", "forward"};
   auto const index = static_cast<std::size_t>(action);
   return index < names.size() ? os << names[index] : os;
}

mpls_label_t::mpls_label_t(std::uint32_t label) : label_(label) {
   if (label > max) throw invalid_range_error(fmt::format("MPLS label {} is above {}", label, max));
}

}  // namespace velm
