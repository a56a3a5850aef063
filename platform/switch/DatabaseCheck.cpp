#include <fmt/format.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstring>
#include <fcntl.h>
#include <optional>
#include <unistd.h>

#include "platform/switch/Database.h"

// LMDB trusts its file: it maps what the first pages say and follows every page number that it finds. So a file of
// unknown history is looked at twice before it is used:
//
//    misfit: plain reads of the two first pages ---> is it ours, and as long as it says?
//    sound:  a child maps it and reads every byte ---> did the child live to say that all is well?
//
// The first look comes first because a map of a file that is cut short faults. The second is made in a child process,
// which damage may end by a fault, or hold up until its alarm ends it, without harm to the agent. Checksums would tell
// damage as well, but LMDB writes none.
namespace velm::embedded {
namespace {

// The front of each of the file's first two pages, as LMDB lays it out; of the two the younger one counts.
struct Meta {
   std::array<unsigned char, 16> pageHeader;
   std::uint32_t magic;
   std::uint32_t version;
   std::uint64_t address;
   std::uint64_t mapSize;
   std::uint32_t pageSize;  // kept in a spare field of the first tree's record
   std::array<unsigned char, 92> trees;
   std::uint64_t lastPage;
   std::uint64_t transaction;
};
static_assert(sizeof(Meta) == 152);

constexpr std::uint32_t fileMagic = 0xBEEFC0DE;
constexpr std::uint32_t fileVersion = 1;

constexpr auto truncated = "its file is truncated";
constexpr auto foreign = "its file is not one of this switch";
constexpr auto damaged = "its file is damaged";

class File {
 public:
   explicit File(std::string const& path) : fd_(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
   ~File() {
      if (isOpen()) ::close(fd_);
   }
   File(File const&) = delete;
   File& operator=(File const&) = delete;

   bool isOpen() const { return fd_ >= 0; }
   std::uint64_t size() const {
      struct stat status {};
      ::fstat(fd_, &status);
      return static_cast<std::uint64_t>(status.st_size);
   }
   std::optional<Meta> metaAt(std::uint64_t offset) const {
      Meta meta{};
      bool const whole = ::pread(fd_, &meta, sizeof meta, static_cast<off_t>(offset)) == ssize_t{sizeof meta};
      return whole ? std::optional(meta) : std::nullopt;
   }

 private:
   int fd_;
};

bool isOurs(Meta const& meta) { return meta.magic == fileMagic && meta.version == fileVersion; }

// Touches every byte of the tree; a walk that finds more than the tree says it holds goes in circles.
bool readsThrough(MDB_txn* txn, MDB_dbi tree) {
   MDB_stat stat{};
   MDB_cursor* cursor = nullptr;
   if (mdb_stat(txn, tree, &stat) != MDB_SUCCESS || mdb_cursor_open(txn, tree, &cursor) != MDB_SUCCESS) return false;
   auto left = stat.ms_entries;
   unsigned char volatile sum = 0;  // what is not used is not read
   auto const touch = [&](MDB_val const& bytes) {
      for (std::size_t i = 0; i < bytes.mv_size; ++i) sum = sum ^ static_cast<unsigned char const*>(bytes.mv_data)[i];
   };
   MDB_val key{};
   MDB_val value{};
   int result = mdb_cursor_get(cursor, &key, &value, MDB_FIRST);
   for (; result == MDB_SUCCESS; result = mdb_cursor_get(cursor, &key, &value, MDB_NEXT)) {
      if (left-- == 0) return false;
      touch(key);
      touch(value);
   }
   return result == MDB_NOTFOUND && left == 0;
}

// In the child: ends it.
[[noreturn]] void readAll(std::string const& path) {
   constexpr unsigned patience = 60;
   constexpr MDB_dbi freePages = 0;
   close_range(STDERR_FILENO + 1, ~0U, 0);  // the folder's lock is the parent's and must go with it
   alarm(patience);
   MDB_env* env = nullptr;
   MDB_txn* txn = nullptr;
   MDB_dbi tree = 0;
   bool const opened = mdb_env_create(&env) == MDB_SUCCESS &&
                       mdb_env_open(env, path.c_str(), MDB_NOSUBDIR | MDB_NOLOCK | MDB_RDONLY, 0) == MDB_SUCCESS &&
                       mdb_txn_begin(env, nullptr, MDB_RDONLY, &txn) == MDB_SUCCESS &&
                       mdb_dbi_open(txn, nullptr, 0, &tree) == MDB_SUCCESS;
   _exit(opened && readsThrough(txn, tree) && readsThrough(txn, freePages) ? 0 : 1);
}

}  // namespace

std::string Database::misfit(std::string const& path) {
   File const file(path);
   if (!file.isOpen()) return fmt::format("{} cannot be read: {}", path, std::strerror(errno));
   auto const first = file.metaAt(0);
   if (!first) return truncated;
   if (!isOurs(*first)) return foreign;
   bool const sane = first->pageSize >= 512 && (first->pageSize & (first->pageSize - 1)) == 0;
   if (!sane) return damaged;
   auto const second = file.metaAt(first->pageSize);
   if (!second) return truncated;
   if (!isOurs(*second)) return foreign;
   auto const& current = first->transaction > second->transaction ? *first : *second;
   return current.lastPage >= file.size() / first->pageSize ? truncated : "";
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
