#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "platform/switch/CallLedger.h"
#include "platform/switch/Event.h"

namespace velm::embedded {

class Store;

/// Changes of one or several rows as one step, and what follows from it. What is put and deleted here reaches the
/// folder, and what onCommit() was given is done in memory, when commit() is called, all or nothing; then come the
/// consequences. Tables stage their changes with it; until the commit they read as before, so that a row is changed
/// once at most. One that is not committed has not happened.
///
/// Held inside one operation, under the SDK lock.
class Transaction {
 public:
   explicit Transaction(Inside const& /*inside*/) {}
   Transaction(Transaction const&) = delete;
   Transaction& operator=(Transaction const&) = delete;

   /// Keeps what is to be done once all rows have changed, in the order in which it was foreseen: raising events above
   /// all. It must not throw.
   void then(Event consequence) { consequences_.push_back(std::move(consequence)); }

   /// Throws velm::error if the folder takes no more; nothing has changed then, and nothing follows. Once at most.
   void commit();
   /// The same for what has happened outside and cannot be refused: a folder that takes no more is left behind.
   void commitReported();

   // For tables.
   void put(Store& store, std::string_view key, std::string_view value);
   void del(Store& store, std::string_view key);
   /// Keeps what is to be done in memory, in order. It must not throw, nor commit a transaction of its own. Also for
   /// events that must be queued before what the dataplane posts when it carries out a row that is staged later.
   void onCommit(Event apply) { applies_.push_back(std::move(apply)); }

 private:
   void apply();

   Store* store_ = nullptr;  // null while nothing has to be stored
   std::string log_;         // what is to be stored, as Store::write() reads it
   std::vector<Event> applies_;
   std::vector<Event> consequences_;
};

}  // namespace velm::embedded
