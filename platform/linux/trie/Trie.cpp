#include "platform/linux/trie/Trie.h"

#include <algorithm>
#include <stdexcept>

#include "platform/linux/trie/Pack.h"

namespace velm::trie {
namespace {

/// Part of a prefix, or of a way, from a branch on.
struct Rest {
   Bits bits;
   unsigned length;

   bool endsHere() const { return length <= TRIE_STRIDE; }
   /// Of the prefix itself, or of the slot through which it goes on.
   unsigned place() const { return placeOf(bits, endsHere() ? length : TRIE_STRIDE); }
};

}  // namespace

Trie::Trie(Memory& memory, trie_root& root, Form form) : memory_(memory), root_(root) {
   memory_.add(*this);
   if (form == Form::small) return;
   table_.emplace(memory);
   publish(root_.top, table_->word());
}

std::uint32_t Trie::find(Bits address) const {
   return trie_lookup(memory_.shared(), &root_, highOf(address), lowOf(address));
}

std::uint32_t Trie::at(Prefix const& prefix) const {
   if (prefix.length == 0) return root_.fallback;
   if (table_ && Table::holds(prefix)) return table_->at(prefix);
   Descent descent;
   descend(prefix, descent);
   return found(descent);
}

void Trie::descend(Prefix const& prefix, Descent& descent) const {
   auto* entry = &top(prefix);
   auto bits = table_ ? prefix.bits << TRIE_TABLE_BITS : prefix.bits;
   auto length = table_ ? prefix.length - TRIE_TABLE_BITS : prefix.length;
   auto end = [&](Descent::End what) {
      descent.end = what;
      descent.entry = entry;
      descent.bits = bits;
      descent.length = length;
   };
   for (;;) {
      auto* link = entry;
      if (leaf_kind_of(*entry) == LEAF_SKIP) {
         auto const& way = descent.way = follow(memory_, *entry);
         if (!way.leadsToBranch() || length <= way.length || alike(way.bits, bits) < way.length) {
            return end(Descent::End::skip);
         }
         bits <<= way.length;
         length -= way.length;
         link = way.end;
      }
      if (!isNode(*link)) return end(Descent::End::leaf);
      Branch const branch(memory_, *link);
      auto const slot = slotOf(bits);
      descent.passed[descent.depth++] = {entry, link, slot};
      if (length <= TRIE_STRIDE) return end(Descent::End::branch);
      entry = &branch.word(slot);
      bits <<= TRIE_STRIDE;
      length -= TRIE_STRIDE;
   }
}

std::uint32_t Trie::found(Descent const& descent) const {
   switch (descent.end) {
      case Descent::End::leaf: return 0;
      case Descent::End::skip: {
         auto const& way = descent.way;
         bool const same = way.length == descent.length && way.bits == descent.bits;
         return same && !way.leadsToBranch() ? *way.end : 0;
      }
      case Descent::End::branch: {
         auto const place = placeOf(descent.bits, descent.length);
         auto const branch = last(descent);
         return branch.holds(place) ? branch.value(place) : 0;
      }
   }
   return 0;
}

std::uint32_t Trie::set(Prefix const& prefix, std::uint32_t leaf) {
   if (prefix.length == 0) return replaceFallback(leaf);
   if (table_ && Table::holds(prefix)) {
      auto const before = table_->at(prefix);
      table_->set(prefix, leaf);
      return before;
   }
   Descent descent;
   descend(prefix, descent);
   auto const before = found(descent);
   if (before == leaf) return before;
   bool done = false;
   switch (descent.end) {
      case Descent::End::leaf:
         done =
            table_ && descent.depth == 0 && descent.length <= TRIE_STRIDE ? begin(descent, leaf) : hang(descent, leaf);
         break;
      case Descent::End::skip: done = split(descent, leaf); break;
      case Descent::End::branch: done = extend(descent, leaf); break;
   }
   if (!done) throw std::logic_error("no room was reserved for a route");
   return before;
}

std::uint32_t Trie::replaceFallback(std::uint32_t leaf) {
   auto const before = root_.fallback;
   publish(root_.fallback, leaf);
   return before;
}

// Where nothing was: a way of its own, from a run of its own.
bool Trie::hang(Descent const& descent, std::uint32_t leaf) {
   Draft draft(memory_, Memory::Claim::promised);
   auto const word = draft.way(descent.bits, descent.length, leaf, *descent.entry);
   if (word == 0) return false;
   if (descent.depth == 0) {
      publish(*descent.entry, word);
   } else if (!putInto(descent, word, draft)) {
      return false;
   }
   draft.keep();
   return true;
}

// Below the table most ways end in a branch soon. One that would is begun as a branch, not as a skip that the next
// prefix replaces.
bool Trie::begin(Descent const& descent, std::uint32_t leaf) {
   Draft draft(memory_, Memory::Claim::promised);
   auto const place = placeOf(descent.bits, descent.length);
   auto const runs = Branch::filledUp(Branch::runsOf(Branch::whole) | Branch::runsOf(place), place);
   auto const unit = draft.branch(runs);
   if (unit == 0) return false;
   auto branch = Branch::make(memory_, unit, runs, *descent.entry);
   branch.add(place, leaf);
   publish(*descent.entry, branch.word());
   draft.keep();
   return true;
}

bool Trie::putInto(Descent const& descent, std::uint32_t word, Draft& draft) {
   auto const& at = descent.passed[descent.depth - 1];
   auto const branch = last(descent);
   auto const now = parted(branch, Branch::slots + at.slot, endsAtTop(descent), draft);
   if (!now) return false;
   publish(now->word(at.slot), word);
   replace(branch, *now, *at.link);
   return true;
}

// Something else begins where a way was to go on: a branch, from which both go on or where they end.
bool Trie::split(Descent const& descent, std::uint32_t leaf) {
   auto const& old = descent.way;
   if (found(descent) != 0) {
      if (*old.end != leaf) publish(*old.end, leaf);
      return true;
   }
   auto const common = std::min({alike(old.bits, descent.bits), old.length - 1, descent.length - 1});
   auto const before = common / TRIE_STRIDE * TRIE_STRIDE;
   Rest const fresh{descent.bits << before, descent.length - before};
   Rest const rest{old.bits << before, old.length - before};
   bool const restGoesOn = old.leadsToBranch() || !rest.endsHere();

   Draft draft(memory_, Memory::Claim::promised);
   auto const runs = Branch::runsOf(Branch::whole) | Branch::runsOf(fresh.place()) | Branch::runsOf(rest.place());
   auto const filled = Branch::filledUp(runs, fresh.place());
   auto const unit = draft.branch(filled);
   if (unit == 0) return false;
   auto branch = Branch::make(memory_, unit, filled, old.otherwise);
   if (fresh.endsHere()) branch.add(fresh.place(), leaf);
   if (!restGoesOn) branch.add(rest.place(), *old.end);
   // Asked for before the slot's word names a node that has yet to be told.
   auto const inherited = restGoesOn ? branch.valueAt(slotOf(rest.bits)) : 0;
   auto goOn = [&](Rest const& on, std::uint32_t end) {
      auto const slot = slotOf(on.bits);
      auto const otherwise = branch.valueAt(slot);
      return branch.word(slot) = draft.way(on.bits << TRIE_STRIDE, on.length - TRIE_STRIDE, end, otherwise);
   };
   if (!fresh.endsHere() && goOn(fresh, leaf) == 0) return false;
   if (restGoesOn && goOn(rest, *old.end) == 0) return false;
   auto const word = draft.way(old.bits, before, branch.word(), old.otherwise);
   if (word == 0) return false;

   if (old.leadsToBranch() && inherited != old.otherwise) inherit(memory_, *old.end, inherited);
   publish(*descent.entry, word);
   retire(memory_, old);
   draft.keep();
   return true;
}

bool Trie::extend(Descent const& descent, std::uint32_t leaf) {
   auto branch = last(descent);
   auto const place = placeOf(descent.bits, descent.length);
   if (branch.holds(place)) {
      if (branch.value(place) != leaf) branch.change(place, leaf);
      return true;
   }
   Draft draft(memory_, Memory::Claim::promised);
   auto now = parted(branch, place, endsAtTop(descent), draft);
   if (!now) return false;
   now->add(place, leaf);
   replace(branch, *now, *descent.passed[descent.depth - 1].link);
   draft.keep();
   return true;
}

// A branch right below the table, where routes lie closest, becomes wide as soon as it outgrows the least one, so that
// the next ones cost stores and no more copies.
std::optional<Branch> Trie::parted(Branch const& branch, unsigned place, bool isTop, Draft& draft) {
   auto const runs = branch.runs() | Branch::runsOf(place);
   if (runs == branch.runs()) return branch;
   bool const outgrown = Branch::orderOf(runs) > Branch::leastOrder;
   auto const filled = isTop && outgrown ? Branch::allRuns : Branch::filledUp(runs, place);
   auto const unit = draft.branch(filled);
   if (unit == 0) return std::nullopt;
   return branch.copy(unit, filled);
}

void Trie::replace(Branch const& old, Branch const& now, std::uint32_t& link) {
   if (now.word() == old.word()) return;
   publish(link, now.word());
   memory_.retire(old.block());
}

unsigned Trie::parts() const { return table_ ? Branch::slots : 1; }

std::size_t Trie::pack(unsigned part) {
   if (!table_) return trie::pack(memory_, root_.top);
   auto const each = table_->words().size() / parts();
   std::size_t moved = 0;
   for (auto& word : table_->words().subspan(part * each, each)) moved += trie::pack(memory_, word);
   return moved;
}

void Trie::prefetch(std::span<Prefix const> prefixes) const {
   for (auto const& prefix : prefixes) __builtin_prefetch(&top(prefix));
   for (auto const& prefix : prefixes) {
      auto const word = top(prefix);
      if (leaf_kind_of(word) < LEAF_WIDE) continue;
      auto const slot = slotOf(table_ ? prefix.bits << TRIE_TABLE_BITS : prefix.bits);
      auto const* const node = reinterpret_cast<std::uint32_t const*>(&memory_.node(leaf_index_of(word)));
      __builtin_prefetch(leaf_kind_of(word) == LEAF_WIDE ? node + slot : node);
      if (isBranch(word)) __builtin_prefetch(&memory_.prefixes(leaf_index_of(word)));
   }
}

}  // namespace velm::trie
