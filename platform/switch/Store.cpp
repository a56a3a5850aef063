#include "platform/switch/Store.h"

#include <fmt/format.h>

#include <cstdio>
#include <utility>

#include "platform/switch/Codec.h"
#include "platform/switch/Database.h"
#include "platform/velm/errors.h"

namespace velm::embedded {
namespace {

// Raised whenever a stored form changes: a table's key or row, or an attribute list that one of them is made of.
constexpr std::string_view formatVersion = "1";
constexpr std::string_view formatKey{"\0format", 7};

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
   database->write([](Database::Change& change) { change.put(formatKey, formatVersion); });
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
   database_->write([&](Database::Change& change) { change.put(key, value); });
}

void Store::del(std::string_view key) {
   database_->write([&](Database::Change& change) { change.del(key); });
}

namespace {

constexpr char putEntry = 'p';
constexpr char delEntry = 'd';

}  // namespace

void Transaction::put(Store& store, std::string_view key, std::string_view value) {
   store_ = &store;
   log_ += putEntry;
   encode(log_, key);
   encode(log_, value);
}

void Transaction::del(Store& store, std::string_view key) {
   store_ = &store;
   log_ += delEntry;
   encode(log_, key);
}

void Transaction::commit() {
   if (store_ != nullptr) {
      store_->database_->write([&](Database::Change& change) {
         StoredBytes log(log_);
         while (!log.atEnd()) {
            bool const isPut = log.take(1).front() == putEntry;
            auto const key = log.take(decodeSize(log));
            if (isPut) {
               change.put(key, log.take(decodeSize(log)));
            } else {
               change.del(key);
            }
         }
      });
   }
   for (auto const& apply : applies_) apply();
}

}  // namespace velm::embedded
