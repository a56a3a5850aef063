#pragma once

#include <string>
#include <vector>

#include "trials/fuzz/Choices.h"

namespace VelmSdkRpc::fuzz {

/// A state folder of this process, in memory where that can be; gone with the process.
class StateFolder {
 public:
   StateFolder();
   ~StateFolder();
   StateFolder(StateFolder const&) = delete;
   StateFolder& operator=(StateFolder const&) = delete;

   std::string path() const { return top_ + "/state"; }
   std::string file() const { return path() + "/switch.mdb"; }
   /// Empties the folder.
   void clear() const;

 private:
   std::string top_;
};

/// A row as the file has it: the table's byte before the key, a byte that tells its form before the value.
struct StoredRow {
   std::string key;
   std::string value;
};
/// The rows of a switch that holds something in each of its tables.
std::vector<StoredRow> const& someRows();
/// Puts a new file with these rows in place.
void write(StateFolder const& folder, std::vector<StoredRow> const& rows);

/// Starts a switch on the folder; false if it refuses that. One that takes it must show the same again after a restart,
/// and after another one that follows the changes which are chosen.
bool live(StateFolder const& folder, Choices& choices);

}  // namespace VelmSdkRpc::fuzz
