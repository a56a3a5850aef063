#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <span>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/trie/Branch.h"
#include "platform/linux/trie/Memory.h"
#include "platform/linux/trie/Prefix.h"
#include "platform/linux/trie/Skip.h"
#include "platform/linux/trie/Table.h"

namespace velm::trie {

/// The routes of a VRF and a family, as running programs look them up: for each address the leaf of the longest prefix.
///
/// A leaf is a word of Layout.h that is not 0 and of none of the kinds that tries have inside.
///
/// Lookups run meanwhile on other processors and see, of each change, for each address, what held before or what holds
/// after it; once a change returns, every lookup that begins sees it. All members are for one thread at a time, under
/// the writer's lock, which guards Memory too.
///
/// Nothing but a set with a new prefix needs room in Memory. What a deletion leaves that could be smaller is made
/// smaller if there is room besides what is promised, else with a later deletion beside it.
class Trie : private Tenant {
 public:
   enum class Form {
      small,  // of no size while it is empty
      large,  // begins with one of the tables set aside in Memory, which spares three nodes on each way
   };

   /// `root` is in shared memory, zero, and belongs to the trie. Both must outlive it.
   Trie(Memory& memory, trie_root& root, Form form);
   /// Leaves what it shared as it is.
   ~Trie() { memory_.remove(*this); }
   Trie(Trie const&) = delete;
   Trie& operator=(Trie const&) = delete;

   /// Adds a prefix, for which the caller holds room for one change (Memory::reserve), or replaces its leaf, for which
   /// none is needed. The leaf that was there, or 0. Throws std::logic_error if room was needed that was not held;
   /// nothing has changed then.
   std::uint32_t set(Prefix const& prefix, std::uint32_t leaf);
   /// The leaf of exactly this prefix, 0 if there is none, whatever shorter and longer ones say.
   std::uint32_t at(Prefix const& prefix) const;
   /// Deletes a prefix, if there is one. The leaf that was there, or 0.
   std::uint32_t del(Prefix const& prefix);
   /// Deletes all.
   void clear();

   /// What a running program finds: the leaf of the longest prefix that the address has, 0 if there is none.
   std::uint32_t find(Bits address) const;
   /// Brings what changes of the prefixes read into the processor's caches. Changes nothing.
   void prefetch(std::span<Prefix const> prefixes) const;

 private:
   /// A branch on the way down.
   struct Passed {
      std::uint32_t* entry;  // the word in the node above, from where a way of skips may lead here
      std::uint32_t* link;   // the word that names the branch
      unsigned slot;         // through which the way goes on, if it does
   };
   /// How far the way of a prefix goes.
   struct Descent {
      enum class End { leaf, skip, branch } end;  // at entry; branch: in the last branch passed
      std::uint32_t* entry;
      Way way;          // at entry, for skip
      Bits bits;        // of the prefix, behind entry or within the branch
      unsigned length;  // of these
      std::array<Passed, TRIE_MAX_DEPTH> passed;
      unsigned depth = 0;
   };

   void descend(Prefix const& prefix, Descent& descent) const;
   bool endsAtTop(Descent const& descent) const { return table_ && descent.depth == 1; }
   Branch last(Descent const& descent) const { return {memory_, *descent.passed[descent.depth - 1].link}; }
   /// The leaf of the prefix that was gone down for, 0 if it is not there.
   std::uint32_t found(Descent const& descent) const;
   std::uint32_t replaceFallback(std::uint32_t leaf);
   bool hang(Descent const& descent, std::uint32_t leaf);
   bool begin(Descent const& descent, std::uint32_t leaf);
   bool split(Descent const& descent, std::uint32_t leaf);
   bool extend(Descent const& descent, std::uint32_t leaf);
   bool putInto(Descent const& descent, std::uint32_t word, Draft& draft);
   /// The branch if the place's slots have runs of their own, else a copy in which they do.
   std::optional<Branch> parted(Branch const& branch, unsigned place, bool isTop, Draft& draft);
   void replace(Branch const& old, Branch const& now, std::uint32_t& link);

   void tidy(Descent const& descent);
   void collapse(Passed const& at);
   void join(Passed const& at, unsigned child);
   void shrink(Passed const& at, unsigned things);
   void retireAll(std::uint32_t& word);

   unsigned parts() const override;
   std::size_t pack(unsigned part) override;

   std::uint32_t& top(Prefix const& prefix) const { return table_ ? table_->word(prefix.bits) : root_.top; }

   Memory& memory_;
   trie_root& root_;
   std::optional<Table> table_;
};

}  // namespace velm::trie
