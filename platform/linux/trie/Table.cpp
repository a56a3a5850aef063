#include "platform/linux/trie/Table.h"

#include <algorithm>
#include <utility>

#include "platform/linux/trie/Branch.h"

namespace velm::trie {

Table::Table(Memory& memory)
   : memory_(memory),
     unit_(memory.takeTable()),
     words_(reinterpret_cast<std::uint32_t*>(&memory.node(unit_)), std::size_t{1} << TRIE_TABLE_BITS),
     values_(2 * words_.size()) {}

void Table::set(Prefix const& prefix, std::uint32_t leaf) {
   auto const place = placeOf(prefix);
   if (std::exchange(values_[place], leaf) != leaf) paint(place, leaf);
}

void Table::del(Prefix const& prefix) {
   auto const place = placeOf(prefix);
   if (std::exchange(values_[place], 0) == 0) return;
   auto holder = place / 2;
   while (holder > 1 && values_[holder] == 0) holder /= 2;
   paint(place, values_[holder]);
}

void Table::clear() {
   std::ranges::fill(values_, 0);
   for (auto& word : words_) publish(word, 0);
}

void Table::paint(std::size_t place, std::uint32_t value) {
   if (place >= words_.size()) {
      tell(memory_, words_[place - words_.size()], value);
      return;
   }
   for (auto const half : {2 * place, 2 * place + 1}) {
      if (values_[half] == 0) paint(half, value);
   }
}

}  // namespace velm::trie
