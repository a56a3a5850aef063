#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "platform/linux/bpf/Layout.h"
#include "platform/linux/grace/GracePeriods.h"
#include "platform/linux/trie/Pool.h"

namespace velm::trie {

/// Makes a word, and all that was written before it, visible to running programs.
inline void publish(std::uint32_t& word, std::uint32_t value) {
   std::atomic_ref(word).store(value, std::memory_order_release);
}

/// The prefixes that end in a branch, in ordinary memory beside it. A prefix has a place: 1 is the way to the branch
/// itself, whose value is what the branch inherits, and the places of the two halves of p are 2p and 2p + 1, so that
/// slot s is 64 + s. What a prefix of a single slot says stands in the slot's word, or is what the node there inherits.
/// At most twice as many prefixes end in a branch as it has runs, so twice the branch's memory is enough for this.
struct Prefixes {
   std::uint64_t held[2];    // a bit for each place; that of 1 is always set
   std::uint32_t value[64];  // of the first 64 places: by place in a wide branch, else of those held, in their order
};

/// What has nodes in the memory, in parts that are packed one at a time.
class Tenant {
 public:
   virtual unsigned parts() const = 0;
   /// Moves nodes to where Memory::takeBetter says; how many.
   virtual std::size_t pack(unsigned part) = 0;

 protected:
   ~Tenant() = default;
};

/// The memory of all tries: what the program reads, what the writer alone knows beside it, and which of it is free.
///
/// A change is prepared and made like this; what waits, waits without the lock, and nothing else can fail:
///
///   while (!memory.reserve(n)) {
///      auto const period = memory.pending();
///      if (!period) ...                       // full: refuse, nothing has changed
///      ...                                    // give the lock back
///      periods.await(*period);
///      ...                                    // take the lock again
///   }
///   ...                                       // up to n times Trie::set with a new prefix
///   memory.giveBack(n);
///
/// For one thread at a time, under the writer's lock (the agent's is the SDK lock).
class Memory {
 public:
   using Period = machine::GracePeriods::Period;

   /// `shared` is zero and aligned to 8 bytes, at most 512 MiB. Room for `tables` tables is set aside in it; the rest
   /// is for nodes. Throws velm::configuration_error if it is too small. `shared` and `periods` must outlive this.
   Memory(std::span<std::byte> shared, unsigned tables, machine::GracePeriods& periods);
   Memory(Memory const&) = delete;
   Memory& operator=(Memory const&) = delete;

   /// Bytes of `shared` that so many tables and so many bytes of nodes need.
   static std::size_t bytesFor(unsigned tables, std::size_t nodes);

   /// Promises room for so many new prefixes, beside all that is promised. False if there is not enough now; then what
   /// is free in pieces too small is brought together, some of it each time, so that a later call may find more.
   bool reserve(std::size_t changes);
   /// Ends promises: of changes that were made, or that are not made after all.
   void giveBack(std::size_t changes) { promised_ -= changes; }
   /// When more will be free than now. Nothing if nothing will be, unless something is deleted.
   std::optional<Period> pending() const;

   /// In bytes.
   struct Fill {
      std::size_t size;      // for nodes, in all
      std::size_t used;      // by nodes that stand or are in their grace period
      std::size_t inGrace;   // of these
      std::size_t promised;  // held back for changes
   };
   Fill fill() const;

   // ---- For the tries -----------------------------------------------------------------------------------------------

   /// Whether a change may use room that was promised.
   enum class Claim { promised, unpromised };

   /// Of order 0 for a skip, of a larger one for a branch.
   std::optional<Block> take(unsigned order, Claim claim);
   /// Gives back what no word ever named.
   void put(Block block) { pool_.put(block); }
   /// Takes back what no word names any more.
   void retire(Block block);

   /// A better place for a node, if it lies where the other kind of nodes should and there is one.
   std::optional<Block> takeBetter(Block than);
   void add(Tenant& tenant) { tenants_.push_back(&tenant); }
   void remove(Tenant& tenant) { std::erase(tenants_, &tenant); }

   /// The next table that is left. Throws std::logic_error if there is none.
   Unit takeTable();

   trie_node& node(Unit unit) const { return *reinterpret_cast<trie_node*>(shared_ + std::size_t{unit} * TRIE_UNIT); }
   Prefixes& prefixes(Unit unit) const {
      return *reinterpret_cast<Prefixes*>(own_.get() + std::size_t{unit} * 2 * TRIE_UNIT);
   }
   void const* shared() const { return shared_; }

 private:
   /// Puts back up to so many blocks whose grace period is over.
   void collect(std::size_t most);
   bool hasRoom(std::size_t changes) const { return pool_.wholeBlocks() >= promised_ + changes; }
   bool worthPacking(std::size_t changes);
   void packSome();

   std::byte* const shared_;
   machine::GracePeriods& periods_;
   Unit nextTable_;
   Unit const tablesEnd_;
   Pool pool_;
   std::size_t promised_ = 0;  // changes
   std::size_t unitsInGrace_ = 0;
   std::deque<std::pair<Period, Block>> retired_;  // by rising period
   std::vector<Tenant*> tenants_;
   std::size_t tenant_ = 0;      // to be packed next
   unsigned part_ = 0;           // of it
   std::size_t packedFree_ = 0;  // free units at the least since packing changed nothing
   struct Unmap {
      std::size_t size;
      void operator()(std::byte* bytes) const;
   };
   std::unique_ptr<std::byte, Unmap> own_;  // of no cost where it was never written
};

}  // namespace velm::trie
