#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "platform/switch/StateFolder.h"

namespace velm::embedded {

class Database;

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

/// The rows of all tables in one ordered map of bytes, in a file of the state folder that is mapped into memory. What
/// was committed outlives the process, however it ends; nothing is flushed to a disk, so it need not outlive the
/// machine. Guarded by the SDK lock.
class Store {
 public:
   /// Opens the folder and holds it alone, or makes a new one, which counts when completeIs() has been called. Throws
   /// StateRefused, with the folder untouched, for one that is in use, cannot be read, is damaged or of another format.
   explicit Store(std::string const& folder);
   ~Store();
   Store(Store const&) = delete;
   Store& operator=(Store const&) = delete;

   std::string const& path() const { return folder_.path(); }
   /// Whether the folder was made by this process, so that there is nothing to bring back.
   bool fresh() const { return folder_.fresh(); }

   /// Every table has put down what it begins with: a fresh folder counts from now on, as a whole. One that is killed
   /// before is fresh again.
   void completeIs();

   /// Calls fn(key without the table's byte, value) for every row of the table, nearly in the order of the keys: those
   /// too long to be kept as they are come where their hash puts them. Throws StateRefused if fn throws DamagedState,
   /// or the file cannot be read.
   void load(StoredTable table, std::function<void(std::string_view key, std::string_view value)> const& fn);

   // One step each. Throw velm::error when the folder takes no more; nothing has changed then.
   void put(std::string_view key, std::string_view value);
   void del(std::string_view key);
   /// All that the log has, in its order.
   void write(std::string_view log);

   // Add a change to a log.
   static void logPut(std::string& log, std::string_view key, std::string_view value);
   static void logDel(std::string& log, std::string_view key);

 private:
   StateFolder folder_;
   std::unique_ptr<Database> database_;
   bool complete_;
};

}  // namespace velm::embedded
