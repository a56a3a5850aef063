#include "platform/switch/Database.h"

#include <fmt/format.h>
#include <openssl/sha.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <utility>

#include "platform/velm/errors.h"

// How LMDB is used here. One tree, one writer, no locks of its own, since the folder's lock keeps other processes out.
// The file is mapped writable and never flushed by us: a killed process loses nothing, as the pages are the kernel's,
// and a change is a write to memory. The price is that a page without room on the disk would end the process at its
// first touch, so the space is allocated ahead:
//
//    write(step) ---> begin ---> step puts and deletes ---> commit ---> done
//                       ^             |  LMDB says that the map is full
//                       |             v
//                       +--- grow <-- abort: nothing of the step is left
//                              |  the disk has no room
//                              v
//                            velm::error, the file as before
//
// A step may run several times for this reason, and must not count on running once. LMDB takes keys up to 511 bytes;
// longer ones stand under their hash, with the key itself in the value.
namespace velm::embedded {
namespace {

constexpr std::size_t firstSize = std::size_t{16} << 20;
constexpr std::size_t longestKey = 511;
constexpr unsigned commonFlags = MDB_NOSUBDIR | MDB_NOLOCK;  // the folder's lock keeps others out
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

// A value's first byte tells what follows.
constexpr char plain = 0;
constexpr char afterItsKey = 1;  // the key's size in four bytes, the key, the value

struct NoRoom {};  // the file is too small for the step

void must(int result, char const* doing) {
   if (result == MDB_SUCCESS) return;
   if (result == MDB_MAP_FULL) throw NoRoom{};
   throw error(fmt::format("the switch's state cannot be {}: {}", doing, mdb_strerror(result)));
}

MDB_val bytes(std::string_view text) { return {text.size(), const_cast<char*>(text.data())}; }
std::string_view text(MDB_val const& value) { return {static_cast<char const*>(value.mv_data), value.mv_size}; }

// A key that is too long stands under its hash, which a plain key of the same table cannot meet but by design.
class StoredKey {
 public:
   explicit StoredKey(std::string_view key) : key_(key) {
      if (!hashed()) return;
      hash_[0] = static_cast<unsigned char>(key.front());
      SHA256(reinterpret_cast<unsigned char const*>(key.data()), key.size(), &hash_[1]);
   }
   bool hashed() const { return key_.size() > longestKey; }
   MDB_val val() { return hashed() ? MDB_val{hash_.size(), hash_.data()} : bytes(key_); }

 private:
   std::string_view key_;
   std::array<unsigned char, 1 + SHA256_DIGEST_LENGTH> hash_{};
};

class Reading {
 public:
   explicit Reading(MDB_env* env) { must(mdb_txn_begin(env, nullptr, MDB_RDONLY, &txn_), "read"); }
   ~Reading() { mdb_txn_abort(txn_); }
   Reading(Reading const&) = delete;
   Reading& operator=(Reading const&) = delete;

   // Calls fn(key, value) from the first key that is not before the given one, until it returns false.
   template <class Fn>
   void walk(std::string_view from, Fn fn) {
      MDB_dbi tree = 0;
      must(mdb_dbi_open(txn_, nullptr, 0, &tree), "read");
      MDB_cursor* raw = nullptr;
      must(mdb_cursor_open(txn_, tree, &raw), "read");
      std::unique_ptr<MDB_cursor, decltype(&mdb_cursor_close)> const cursor(raw, &mdb_cursor_close);
      MDB_val key = bytes(from);
      MDB_val value{};
      int result = mdb_cursor_get(raw, &key, &value, from.empty() ? MDB_FIRST : MDB_SET_RANGE);
      while (result == MDB_SUCCESS && fn(text(key), text(value))) result = mdb_cursor_get(raw, &key, &value, MDB_NEXT);
      if (result != MDB_NOTFOUND) must(result, "read");
   }

 private:
   MDB_txn* txn_ = nullptr;
};

std::size_t sizeOf(MDB_env* env) {
   MDB_envinfo info{};
   mdb_env_info(env, &info);
   return info.me_mapsize;
}

// Gives the file room on the disk up to the size; the error number of a refusal.
int allocate(MDB_env* env, std::size_t size) {
   mdb_filehandle_t fd = -1;
   mdb_env_get_fd(env, &fd);
   return posix_fallocate(fd, 0, static_cast<off_t>(size));
}

}  // namespace

Database::Database(std::string path, Access access) : path_(std::move(path)) {
   bool const writable = access == Access::readWrite;
   unsigned const flags = commonFlags | (writable ? MDB_WRITEMAP | MDB_NOSYNC | MDB_NORDAHEAD : MDB_RDONLY);
   struct stat status {};
   bool const there = ::stat(path_.c_str(), &status) == 0 && status.st_size > 0;
   std::size_t const size = there ? static_cast<std::size_t>(status.st_size) : firstSize;
   must(mdb_env_create(&env_), "opened");
   try {
      must(mdb_env_set_mapsize(env_, size), "opened");
      must(mdb_env_open(env_, path_.c_str(), flags, ownerOnly), "opened");
      if (writable) must(allocate(env_, sizeOf(env_)), "kept");
   } catch (...) {
      mdb_env_close(env_);
      throw;
   }
}

Database::~Database() { mdb_env_close(env_); }

bool Database::attempt(std::function<void(Transaction&)> const& step) try {
   MDB_txn* raw = nullptr;
   must(mdb_txn_begin(env_, nullptr, 0, &raw), "changed");
   std::unique_ptr<MDB_txn, decltype(&mdb_txn_abort)> txn(raw, &mdb_txn_abort);
   Transaction transaction(raw);
   step(transaction);
   must(mdb_txn_commit(txn.release()), "changed");
   return true;
} catch (NoRoom const&) {
   return false;
}

void Database::grow() {
   constexpr std::size_t leastStep = std::size_t{1} << 20;
   std::size_t const size = sizeOf(env_);
   std::size_t step = std::max(size / 2, leastStep);
   // On a disk that is nearly full a smaller step may still do.
   int refused = allocate(env_, size + step);
   for (; refused != 0 && step > leastStep; refused = allocate(env_, size + step)) step = std::max(step / 4, leastStep);
   if (refused != 0) {
      throw error(fmt::format("{} takes no more of the switch's state: {}", path_, std::strerror(refused)));
   }
   if (int const result = mdb_env_set_mapsize(env_, size + step); result != MDB_SUCCESS) {
      throw error(fmt::format("{} cannot grow: {}", path_, mdb_strerror(result)));
   }
}

void Database::Transaction::put(std::string_view key, std::string_view value) {
   StoredKey stored(key);
   std::size_t const extra = stored.hashed() ? sizeof(std::uint32_t) + key.size() : 0;
   MDB_val at = stored.val();
   MDB_val room{1 + extra + value.size(), nullptr};
   MDB_dbi tree = 0;
   must(mdb_dbi_open(txn_, nullptr, 0, &tree), "changed");
   must(mdb_put(txn_, tree, &at, &room, MDB_RESERVE), "changed");
   char* out = static_cast<char*>(room.mv_data);
   *out++ = stored.hashed() ? afterItsKey : plain;
   if (stored.hashed()) {
      auto const size = static_cast<std::uint32_t>(key.size());
      std::memcpy(out, &size, sizeof size);
      out = std::copy(key.begin(), key.end(), out + sizeof size);
   }
   std::copy(value.begin(), value.end(), out);
}

void Database::Transaction::del(std::string_view key) {
   StoredKey stored(key);
   MDB_val at = stored.val();
   MDB_dbi tree = 0;
   must(mdb_dbi_open(txn_, nullptr, 0, &tree), "changed");
   if (int const result = mdb_del(txn_, tree, &at, nullptr); result != MDB_NOTFOUND) must(result, "changed");
}

void Database::walk(std::string_view front, std::function<void(std::string_view, std::string_view)> const& fn) {
   Reading(env_).walk(front, [&](std::string_view key, std::string_view value) {
      if (!key.starts_with(front)) return false;
      auto const place = key;
      std::uint32_t size = 0;
      bool const hashed = value.size() > sizeof size && value.front() == afterItsKey;
      value.remove_prefix(std::min<std::size_t>(value.size(), 1));
      if (hashed) {
         std::memcpy(&size, value.data(), sizeof size);
         value.remove_prefix(sizeof size);
         key = value.substr(0, size);
         value.remove_prefix(key.size());
         if (text(StoredKey(key).val()) != place) {
            throw error("the switch's state cannot be read: a key does not stand where its hash puts it");
         }
      }
      fn(key, value);
      return true;
   });
}

}  // namespace velm::embedded
