#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velm::embedded {

/// The first byte of every stored key: whose row it is. A number, once given, never changes.
enum class StoredTable : unsigned char {
   format = 0,
   intfs = 1,
   ipIntfs = 2,
   ipIntfSettings = 3,
   ipRoutes = 4,
   mplsRoutes = 5,
   mplsVrfLabels = 6,
   nexthopGroups = 7,
   nexthopGroupTunnels = 8,
   policyMaps = 9,
   classMaps = 10,
   acls = 11,
   sbfdSessions = 12,
   macsecProfiles = 13,
   macsecIntfs = 14,
   lags = 15,
   lagMembers = 16,
   agentOptions = 17,
   agentStatuses = 18,
};

/// The state folder cannot be used; what() is one line that says which folder and why.
class StateRefused : public std::runtime_error {
 public:
   using runtime_error::runtime_error;
};

/// The state folder: the rows of all tables in one ordered map of bytes. What was committed outlives the process,
/// however it ends; it is not flushed to a disk and need not outlive the machine. Guarded by the SDK lock.
class Store {
 public:
   /// Opens the folder and holds it alone, or makes a new one. Throws StateRefused, with the folder untouched, for one
   /// that is in use, cannot be read, is damaged or of another format.
   explicit Store(std::string const& folder);
   ~Store();
   Store(Store const&) = delete;
   Store& operator=(Store const&) = delete;

   std::string const& folder() const { return folder_; }
   /// Whether the folder was made by this process, so that there is nothing to bring back.
   bool fresh() const { return fresh_; }

   /// Calls fn(key without the table's byte, value) for every row of the table, in the order of the keys. Throws
   /// StateRefused if fn throws DamagedState.
   void load(StoredTable table, std::function<void(std::string_view key, std::string_view value)> const& fn);

   // One change by itself. Throw velm::error when the folder takes no more; nothing has changed then.
   void put(std::string_view key, std::string_view value);
   void del(std::string_view key);

 private:
   friend class Transaction;
   struct Impl;

   std::string const folder_;
   bool fresh_ = false;
   std::unique_ptr<Impl> impl_;
};

/// Changes of one or several rows as one step: what is put and deleted here reaches the folder, and what onCommit was
/// given is done in memory, when commit() is called, all or nothing. Tables stage their changes with it; until the
/// commit they read as before, so that a row is changed once at most. One that is not committed has not happened.
///
/// Not nested. Held inside one operation of a manager, under the SDK lock.
class Transaction {
 public:
   Transaction() = default;
   ~Transaction();
   Transaction(Transaction const&) = delete;
   Transaction& operator=(Transaction const&) = delete;

   /// For tables. Throw velm::error when the folder takes no more; the transaction can then only be given up.
   void put(Store& store, std::string_view key, std::string_view value);
   void del(Store& store, std::string_view key);
   /// Keeps what is to be done in memory, in order. It must not throw, nor open a transaction of its own.
   void onCommit(std::function<void()> apply) { applies_.push_back(std::move(apply)); }
   /// Throws velm::error if the folder refuses the changes; nothing has changed then.
   void commit();

 private:
   void begin(Store& store);

   Store* store_ = nullptr;  // where a transaction is open
   std::vector<std::function<void()>> applies_;
};

}  // namespace velm::embedded
