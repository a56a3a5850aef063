// The reader of the state folder: rows as a switch leaves them, some of them damaged, some of any bytes.
#include <sys/types.h>

#include "trials/fuzz/State.h"

// Each file here is one that the database has written itself: the child that reads files through to see whether they
// are sound is spared, for it would take most of the time.
extern "C" pid_t fork() { return 1; }
extern "C" pid_t waitpid(pid_t pid, int* status, int /*options*/) {
   *status = 0;
   return pid;
}

namespace VelmSdkRpc::fuzz {
namespace {

void damage(Choices& choices, std::string& text) {
   auto const at = choices.upTo(static_cast<std::uint32_t>(text.size() + 1));
   switch (choices.upTo(5)) {
      case 0: text.resize(at); break;
      case 1: text.insert(at, choices.take(choices.upTo(8))); break;
      case 2: text.erase(at, choices.upTo(8)); break;
      default: text.replace(at, 1, choices.take(1)); break;
   }
}

std::vector<StoredRow> rows(Choices& choices) {
   auto rows = someRows();
   for (auto left = choices.upTo(4); left > 0 && !choices.atEnd(); --left) {
      auto row = choices.oneOf(rows);
      switch (choices.upTo(4)) {
         case 0: damage(choices, row.key); break;
         case 1: row.value = choices.take(choices.upTo(64)); break;
         default: damage(choices, row.value); break;
      }
      bool const fits = !row.key.empty() && row.key.size() <= 511;
      if (fits) rows.push_back(std::move(row));
   }
   return rows;
}

}  // namespace
}  // namespace VelmSdkRpc::fuzz

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
   namespace fuzz = VelmSdkRpc::fuzz;
   static fuzz::StateFolder const folder;
   fuzz::Choices choices(data, size);
   fuzz::write(folder, fuzz::rows(choices));
   fuzz::live(folder, choices);
   return 0;
}
