#include "platform/switch/Store.h"

#include <fmt/format.h>

#include <cstdio>
#include <utility>

#include "platform/switch/Codec.h"
#include "platform/switch/Database.h"
#include "platform/velm/errors.h"

// One ordered map of bytes for all tables. A key is the byte of its table, then, where several tables share that byte,
// what tells them apart (the VRF of IP routes), then the key's own encoding, which orders as the key does where its
// size is fixed. The key of the format's version begins with a byte that no table has.
//
//    ipRoutes | size of "red", "red" | prefix, preference        the VRF is the front of the table's keys
//    acls     | size of "a", "a", type                           a key is its attributes, in their order
//
// A table's row is written before memory changes (Table.h), so the folder is never behind what clients were told.
// Opening checks in the order of trust: the file's shape, every page, the format's version, and only then is it mapped
// writable.
namespace velm::embedded {
namespace {

// Raised whenever a stored form changes: a table's key or row, or an attribute list that one of them is made of.
constexpr std::string_view formatVersion = "1";
constexpr std::string_view formatKey{"\0format", 7};

// The first byte of a log's entry; then come the key and, in a put, the value, each after its size.
constexpr char putEntry = 'p';
constexpr char delEntry = 'd';

std::unique_ptr<Database> openFile(StateFolder const& folder) {
   if (!Database::sound(folder.file())) throw StateRefused(folder.path(), "its file is damaged");
   std::string version;
   Database(folder.file(), Database::Access::readOnly).walk(formatKey, [&](std::string_view, std::string_view value) {
      version = value;
   });
   if (version != formatVersion) {
      throw StateRefused(folder.path(), fmt::format("its format is '{}', not '{}'", version, formatVersion));
   }
   return std::make_unique<Database>(folder.file(), Database::Access::readWrite);
}

std::unique_ptr<Database> makeDraft(StateFolder const& folder) {
   std::remove(folder.draft().c_str());  // of a process that was killed before it had filled it
   auto database = std::make_unique<Database>(folder.draft(), Database::Access::readWrite);
   database->write([](Database::Transaction& transaction) { transaction.put(formatKey, formatVersion); });
   return database;
}

std::unique_ptr<Database> open(StateFolder const& folder) try {
   return folder.fresh() ? makeDraft(folder) : openFile(folder);
} catch (error const& e) {
   if (folder.fresh()) std::remove(folder.draft().c_str());
   throw StateRefused(folder.path(), e.what());
}

}  // namespace

Store::Store(std::string const& folder) : folder_(folder), database_(open(folder_)), complete_(!folder_.fresh()) {}

Store::~Store() {
   if (!complete_) std::remove(folder_.draft().c_str());
}

void Store::completeIs() {
   if (std::exchange(complete_, true)) return;
   if (std::rename(folder_.draft().c_str(), folder_.file().c_str()) != 0) {
      complete_ = false;
      throw StateRefused(path(), "its file cannot be put in place");
   }
}

void Store::load(StoredTable table, std::function<void(std::string_view, std::string_view)> const& fn) try {
   database_->walk({reinterpret_cast<char const*>(&table), 1},
                   [&](std::string_view key, std::string_view value) { fn(key.substr(1), value); });
} catch (DamagedState const& e) {
   throw StateRefused(path(), std::string("its file is damaged: ") + e.what());
} catch (error const& e) {
   throw StateRefused(path(), e.what());
}

void Store::put(std::string_view key, std::string_view value) {
   database_->write([&](Database::Transaction& transaction) { transaction.put(key, value); });
}

void Store::del(std::string_view key) {
   database_->write([&](Database::Transaction& transaction) { transaction.del(key); });
}

// A log is written when all of a step is known, and again from its start if the file had to grow.
void Store::write(std::string_view log) {
   database_->write([&](Database::Transaction& transaction) {
      StoredBytes rest(log);
      while (!rest.atEnd()) {
         bool const isPut = rest.take(1).front() == putEntry;
         auto const key = rest.take(decodeSize(rest));
         if (isPut) {
            transaction.put(key, rest.take(decodeSize(rest)));
         } else {
            transaction.del(key);
         }
      }
   });
}

void Store::logPut(std::string& log, std::string_view key, std::string_view value) {
   log += putEntry;
   encode(log, key);
   encode(log, value);
}

void Store::logDel(std::string& log, std::string_view key) {
   log += delEntry;
   encode(log, key);
}

}  // namespace velm::embedded
