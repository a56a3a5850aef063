#pragma once

#include <functional>
#include <lmdb.h>
#include <string>
#include <string_view>

namespace velm::embedded {

/// One memory-mapped file of sorted keys and values, for one process at a time. A change is in the file, for all that
/// comes after this process, as soon as its write() has returned. Not thread-safe.
///
/// The file's space is always allocated in full, since a page that the disk has no room for would end the process at
/// its first touch; a file that has become too small grows by a half.
class Database {
 public:
   enum class Access { readOnly, readWrite };

   /// Opens the file; with readWrite one that does not exist is made. readOnly leaves no trace on it. Throws
   /// velm::error.
   Database(std::string path, Access access);
   ~Database();
   Database(Database const&) = delete;
   Database& operator=(Database const&) = delete;

   /// A step under way: nothing of it counts until write() has returned.
   class Transaction {
    public:
      void put(std::string_view key, std::string_view value);
      /// Deleting one that is absent is no error.
      void del(std::string_view key);

    private:
      friend class Database;
      explicit Transaction(MDB_txn* txn) : txn_(txn) {}
      MDB_txn* txn_;
   };
   /// Runs step(Transaction&), again from the start each time that the file had to grow. Throws velm::error with
   /// nothing changed, if the disk has no room above all.
   template <class Fn>
   void write(Fn&& step) {
      while (!attempt(step)) grow();
   }

   /// Calls fn(key, value) for the keys that begin with the front, in their order; long ones come where their hash puts
   /// them. Both views are good during the call alone. Throws velm::error, and whatever fn throws.
   void walk(std::string_view front, std::function<void(std::string_view key, std::string_view value)> const& fn);

   // Looks at a file before it is opened.

   /// Why the file cannot be a database as this one writes it, or not all of one; empty if it can. Maps nothing: the
   /// first touch of a page that is cut off would end the process.
   static std::string misfit(std::string const& path);
   /// Reads the file from end to end in a child process and tells whether that one lived to say that all is well: what
   /// damage does to a mapped file is anything up to a fault. For a file that is no misfit.
   static bool sound(std::string const& path);

 private:
   /// False if the file was too small for it.
   bool attempt(std::function<void(Transaction&)> const& step);
   void grow();

   std::string const path_;
   MDB_env* env_ = nullptr;
};

}  // namespace velm::embedded
