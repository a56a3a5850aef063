#pragma once

#include <cstdint>
#include <string>
#include <utility>

#include "platform/velm/errors.h"

namespace velm::embedded {

/// What a dataplane keeps free for one change that it has agreed to. Whoever holds it and drops it gives it back; the
/// dataplane takes it out, by use(), when it carries the change out. Move-only, 16 bytes, no allocation. An empty one
/// stands for a change that needs no room.
class Room {
 public:
   /// The dataplane's side, which must outlive its rooms. Called under the SDK lock.
   class Keeper {
    public:
      virtual ~Keeper() = default;
      /// The change does not come; `what` is what the room was made of.
      virtual void giveBack(std::uint64_t what) noexcept = 0;
   };

   Room() = default;
   Room(Keeper& keeper, std::uint64_t what) : keeper_(&keeper), what_(what) {}
   Room(Room&& other) noexcept : keeper_(std::exchange(other.keeper_, nullptr)), what_(other.what_) {}
   Room& operator=(Room&& other) noexcept {
      std::swap(keeper_, other.keeper_);
      std::swap(what_, other.what_);
      return *this;
   }
   ~Room() {
      if (keeper_ != nullptr) keeper_->giveBack(what_);
   }

   explicit operator bool() const { return keeper_ != nullptr; }
   /// What the room was made of, which is the caller's now: it is not given back. 0 of an empty one.
   std::uint64_t use() noexcept { return std::exchange(keeper_, nullptr) == nullptr ? 0 : what_; }

 private:
   Keeper* keeper_ = nullptr;  // null when empty or used
   std::uint64_t what_ = 0;
};

/// Carries out the rows of one table, below the switch. A change of a row comes in this order, all of it under one hold
/// of the SDK lock:
///
///    prepare        may refuse; nothing has changed then, nor does anything
///    the folder     may refuse as well; the room is given back
///    the table      the row is what it was to become
///    carryOut       cannot fail
///
/// A transaction prepares all of its rows, each once at most and in the order of the change, before it carries out the
/// first of them in that same order; if it is not committed, all rooms are given back. Between a prepare and its
/// carryOut there may be prepares of other rows and of other tables, but no change that is not part of the transaction.
///
/// A row that is set to what it was is prepared and carried out as any other: comparing is the carrier's. So is
/// remembering what it needs of a row that goes or changes; a reference is good during the call only.
template <class Key, class Row>
class Carrier {
 public:
   virtual ~Carrier() = default;

   /// Judges what a row is to become, and keeps room for it. `now` is the present row, null if there is none. Throws
   /// unsupported_error with the reason for what the dataplane cannot do, velm::error where it is full, and whatever
   /// the machine answers.
   virtual Room prepare(Key const& key, Row const* now, Row const& next) = 0;

   /// The row has become this; null: it has gone. Right after the table changed. What takes away comes without
   /// prepare, and so with an empty room, and cannot be refused: a deletion, and what a resync's purge leaves of a row
   /// whose vias were not all repeated. The carrier keeps what it needs for these.
   virtual void carryOut(Key const& key, Row const* now, Room room) noexcept = 0;

   /// The row came back from the state folder and stands in its table. Cannot be refused; one that prepare refuses is
   /// handed to refused(), and is the table's all the same.
   virtual void restore(Key const& key, Row const& row) {
      try {
         auto room = prepare(key, nullptr, row);
         carryOut(key, &row, std::move(room));
      } catch (error const& e) {
         refused(key, row, e.msg());
      }
   }
   /// A row that came back cannot be carried out. For whoever counts and shows such rows.
   virtual void refused(Key const& /*key*/, Row const& /*row*/, std::string const& /*why*/) {}
};

/// One that agrees to everything.
template <class Key, class Row>
class Boundless : public Carrier<Key, Row> {
 public:
   Room prepare(Key const& /*key*/, Row const* /*now*/, Row const& /*next*/) override { return {}; }
};

}  // namespace velm::embedded
