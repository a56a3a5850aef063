#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>

namespace VelmSdkRpc::chaos {

/// A client in a process of its own that holds watches of all kinds, so many of each, and reads a table of routes again
/// and again. Killed with this object.
class ReaderProcess {
 public:
   ReaderProcess(std::string const& address, int watches);
   ~ReaderProcess();
   ReaderProcess(ReaderProcess const&) = delete;
   ReaderProcess& operator=(ReaderProcess const&) = delete;

   void signal(int number) const;
   /// Whether the process says the word in time: "ready" once all watches are, "heard" when it has heard the last state
   /// of every key on each.
   bool says(std::string const& word, std::chrono::milliseconds timeout);
   /// All that it has said.
   std::string const& words() const { return words_; }

   /// What the process does, until it is killed.
   [[noreturn]] static void run(std::string const& address, int watches);

 private:
   pid_t pid_ = 0;
   int stdout_ = -1;
   std::string words_;
};

}  // namespace VelmSdkRpc::chaos
