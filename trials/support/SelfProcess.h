#pragma once

#include <sys/types.h>

#include <chrono>
#include <string>
#include <vector>

namespace VelmSdkRpc::trials {

/// A client in a process of its own: this program with other arguments. Killed with this object.
class SelfProcess {
 public:
   /// Throws std::system_error if it cannot be started.
   explicit SelfProcess(std::vector<std::string> arguments);
   ~SelfProcess();
   SelfProcess(SelfProcess const&) = delete;
   SelfProcess& operator=(SelfProcess const&) = delete;

   void signal(int number) const;
   /// Whether the process writes this line to its stdout in time.
   bool says(std::string const& line, std::chrono::milliseconds timeout);
   /// All that it has written, as far as it was waited for.
   std::string const& words() const { return words_; }

 private:
   pid_t pid_ = 0;
   int stdout_ = -1;
   std::string words_;
};

}  // namespace VelmSdkRpc::trials
