#include "platform/linux/trie/Memory.h"

#include <fmt/format.h>
#include <sys/mman.h>

#include <algorithm>
#include <new>
#include <stdexcept>

#include "platform/velm/errors.h"

namespace velm::trie {
namespace {

constexpr Unit wholeUnits = Unit{1} << Pool::wholeOrder;
constexpr Unit tableUnits = (Unit{1} << TRIE_TABLE_BITS) * sizeof(std::uint32_t) / TRIE_UNIT;
// The first units belong to nobody, so that no node's index is 0, and the last are what counts of runs may reach.
constexpr Unit frontUnits = wholeUnits;
constexpr std::size_t mostBytes = std::size_t{512} << 20;  // what the verifier lets an offset vary by

// No change pays for all that came back at once, and each takes fewer blocks than it puts back here.
constexpr std::size_t putAtOnce = 8;
// Nodes moved under one hold of the lock: a millisecond or so.
constexpr std::size_t packAtOnce = 4096;

// Large pages where there are such: it is read and written all over, and a million small ones would each be faulted in.
std::byte* zeroBytes(std::size_t size) {
   auto* const bytes = mmap(nullptr, size, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
   if (bytes == MAP_FAILED) throw std::bad_alloc();
   madvise(bytes, size, MADV_HUGEPAGE);
   return static_cast<std::byte*>(bytes);
}

Unit unitsOf(std::span<std::byte> shared, unsigned tables) {
   if (shared.size() > mostBytes || shared.size() < Memory::bytesFor(tables, wholeUnits * TRIE_UNIT)) {
      throw configuration_error(fmt::format("{} bytes are no size for a memory of tries", shared.size()));
   }
   return static_cast<Unit>(shared.size() / TRIE_UNIT);
}

}  // namespace

Memory::Memory(std::span<std::byte> shared, unsigned tables, machine::GracePeriods& periods)
   : shared_(shared.data()),
     periods_(periods),
     nextTable_(frontUnits),
     tablesEnd_(frontUnits + tables * tableUnits),
     pool_(tablesEnd_, unitsOf(shared, tables) - TRIE_REACH),
     own_(zeroBytes(shared.size() * 2), Unmap{shared.size() * 2}) {}

std::size_t Memory::bytesFor(unsigned tables, std::size_t nodes) {
   std::size_t const front = frontUnits + std::size_t{tables} * tableUnits;
   std::size_t const wholes = (nodes + wholeUnits * TRIE_UNIT - 1) / (wholeUnits * TRIE_UNIT);
   return (front + wholes * wholeUnits + TRIE_REACH) * TRIE_UNIT;
}

void Memory::Unmap::operator()(std::byte* bytes) const { munmap(bytes, size); }

bool Memory::reserve(std::size_t changes) {
   if (!hasRoom(changes)) collect(retired_.size());
   if (!hasRoom(changes)) {
      if (worthPacking(changes)) packSome();
      return false;
   }
   promised_ += changes;
   return true;
}

std::optional<Memory::Period> Memory::pending() const {
   return retired_.empty() ? std::nullopt : std::optional(retired_.front().first);
}

// What is in its grace period is waited for first, and where packing changed nothing it is left until more is free.
bool Memory::worthPacking(std::size_t changes) {
   auto const some = pool_.units() / 64;
   packedFree_ = std::min(packedFree_, pool_.freeUnits());
   return unitsInGrace_ <= some && pool_.freeUnits() > packedFree_ + some &&
          pool_.freeUnits() >= (promised_ + changes) * wholeUnits;
}

void Memory::packSome() {
   std::size_t parts = 0;
   for (auto const* tenant : tenants_) parts += tenant->parts();
   std::size_t moved = 0;
   for (; moved < packAtOnce && parts > 0; --parts) {
      if (tenant_ >= tenants_.size()) tenant_ = 0;
      if (part_ < tenants_[tenant_]->parts()) moved += tenants_[tenant_]->pack(part_);
      if (++part_ < tenants_[tenant_]->parts()) continue;
      part_ = 0;
      ++tenant_;
   }
   if (moved == 0) packedFree_ = pool_.freeUnits();
}

Memory::Fill Memory::fill() const {
   return {pool_.units() * TRIE_UNIT, pool_.usedUnits() * TRIE_UNIT, unitsInGrace_ * TRIE_UNIT,
           promised_ * wholeUnits * TRIE_UNIT};
}

std::optional<Block> Memory::take(unsigned order, Claim claim) {
   collect(putAtOnce);
   return pool_.take(order, claim == Claim::promised ? 0 : promised_);
}

std::optional<Block> Memory::takeBetter(Block than) {
   return pool_.isInPlace(than) ? std::nullopt : pool_.takeInPlace(than.order, promised_);
}

void Memory::retire(Block block) {
   unitsInGrace_ += std::size_t{1} << block.order;
   retired_.emplace_back(periods_.next(), block);
}

void Memory::collect(std::size_t most) {
   for (; most > 0 && !retired_.empty() && periods_.over(retired_.front().first); --most) {
      auto const block = retired_.front().second;
      unitsInGrace_ -= std::size_t{1} << block.order;
      pool_.put(block);
      retired_.pop_front();
   }
}

Unit Memory::takeTable() {
   if (nextTable_ == tablesEnd_) throw std::logic_error("no table is left");
   return std::exchange(nextTable_, nextTable_ + tableUnits);
}

}  // namespace velm::trie
