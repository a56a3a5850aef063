#include "platform/switch/Database.h"

#include <fmt/format.h>
#include <openssl/sha.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <unistd.h>
#include <utility>

#include "platform/velm/errors.h"

namespace velm::embedded {
namespace {

constexpr std::size_t firstSize = std::size_t{16} << 20;
constexpr std::size_t longestKey = 511;
constexpr unsigned commonFlags = MDB_NOSUBDIR | MDB_NOLOCK;  // the folder's lock keeps others out
constexpr mode_t ownerOnly = S_IRUSR | S_IWUSR;

// A value's first byte: what stands behind it.
constexpr char plain = 0;
constexpr char behindItsKey = 1;  // the key's size in four bytes, the key, the value

struct NoRoom {};  // the file is too small for the change

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
   void walk(MDB_dbi tree, std::string_view from, Fn fn) {
      MDB_cursor* raw = nullptr;
      must(mdb_cursor_open(txn_, tree, &raw), "read");
      std::unique_ptr<MDB_cursor, decltype(&mdb_cursor_close)> const cursor(raw, &mdb_cursor_close);
      MDB_val key = bytes(from);
      MDB_val value{};
      int result = mdb_cursor_get(raw, &key, &value, from.empty() ? MDB_FIRST : MDB_SET_RANGE);
      while (result == MDB_SUCCESS && fn(text(key), text(value))) result = mdb_cursor_get(raw, &key, &value, MDB_NEXT);
      if (result != MDB_NOTFOUND) must(result, "read");
   }
   MDB_dbi tree() {
      MDB_dbi tree = 0;
      must(mdb_dbi_open(txn_, nullptr, 0, &tree), "read");
      return tree;
   }
   std::size_t entries(MDB_dbi tree) {
      MDB_stat stat{};
      must(mdb_stat(txn_, tree, &stat), "read");
      return stat.ms_entries;
   }

 private:
   MDB_txn* txn_ = nullptr;
};

// Touches every byte of the tree; a walk that finds more than the tree says it holds goes in circles.
bool readsThrough(Reading& reading, MDB_dbi tree) {
   std::size_t left = reading.entries(tree);
   unsigned char volatile sum = 0;  // what is not used is not read
   bool inCircles = false;
   reading.walk(tree, {}, [&](std::string_view key, std::string_view value) {
      for (char const byte : key) sum = sum ^ static_cast<unsigned char>(byte);
      for (char const byte : value) sum = sum ^ static_cast<unsigned char>(byte);
      inCircles = left-- == 0;
      return !inCircles;
   });
   return !inCircles && left == 0;
}

// In the child: ends it.
[[noreturn]] void readAll(std::string const& path) {
   constexpr unsigned patience = 60;
   constexpr MDB_dbi freePages = 0;
   close_range(STDERR_FILENO + 1, ~0U, 0);  // the folder's lock is the parent's and must go with it
   alarm(patience);
   MDB_env* env = nullptr;
   try {
      must(mdb_env_create(&env), "read");
      must(mdb_env_open(env, path.c_str(), commonFlags | MDB_RDONLY, ownerOnly), "read");
      Reading reading(env);
      _exit(readsThrough(reading, reading.tree()) && readsThrough(reading, freePages) ? 0 : 1);
   } catch (...) {
      _exit(1);
   }
}

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

bool Database::attempt(std::function<void(Change&)> const& change) try {
   MDB_txn* raw = nullptr;
   must(mdb_txn_begin(env_, nullptr, 0, &raw), "changed");
   std::unique_ptr<MDB_txn, decltype(&mdb_txn_abort)> txn(raw, &mdb_txn_abort);
   Change part(raw);
   change(part);
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

void Database::Change::put(std::string_view key, std::string_view value) {
   StoredKey stored(key);
   std::size_t const extra = stored.hashed() ? sizeof(std::uint32_t) + key.size() : 0;
   MDB_val at = stored.val();
   MDB_val room{1 + extra + value.size(), nullptr};
   MDB_dbi tree = 0;
   must(mdb_dbi_open(txn_, nullptr, 0, &tree), "changed");
   must(mdb_put(txn_, tree, &at, &room, MDB_RESERVE), "changed");
   char* out = static_cast<char*>(room.mv_data);
   *out++ = stored.hashed() ? behindItsKey : plain;
   if (stored.hashed()) {
      auto const size = static_cast<std::uint32_t>(key.size());
      std::memcpy(out, &size, sizeof size);
      out = std::copy(key.begin(), key.end(), out + sizeof size);
   }
   std::copy(value.begin(), value.end(), out);
}

void Database::Change::del(std::string_view key) {
   StoredKey stored(key);
   MDB_val at = stored.val();
   MDB_dbi tree = 0;
   must(mdb_dbi_open(txn_, nullptr, 0, &tree), "changed");
   if (int const result = mdb_del(txn_, tree, &at, nullptr); result != MDB_NOTFOUND) must(result, "changed");
}

void Database::walk(std::string_view front, std::function<void(std::string_view, std::string_view)> const& fn) {
   Reading reading(env_);
   reading.walk(reading.tree(), front, [&](std::string_view key, std::string_view value) {
      if (!key.starts_with(front)) return false;
      auto const place = key;
      std::uint32_t size = 0;
      bool const behind = value.size() > sizeof size && value.front() == behindItsKey;
      value.remove_prefix(std::min<std::size_t>(value.size(), 1));
      if (behind) {
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

bool Database::sound(std::string const& path) {
   pid_t const child = fork();
   if (child == 0) readAll(path);
   int status = 0;
   while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
   }
   return child > 0 && WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace velm::embedded
