#pragma once

#include <grpcpp/grpcpp.h>
#include <sys/types.h>

#include <chrono>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "clients/support/TempFolder.h"

namespace VelmSdkRpc {

/// A port of 127.0.0.1 that this object holds for itself.
class HeldPort {
 public:
   /// Throws std::system_error if there is none to be had.
   HeldPort();
   ~HeldPort();
   HeldPort(HeldPort const&) = delete;
   HeldPort& operator=(HeldPort const&) = delete;

   /// "127.0.0.1:<port>"
   std::string const& address() const { return address_; }

 private:
   int socket_;
   std::string address_;
};

/// An address whose port was free a moment ago.
inline std::string freeAddress() { return HeldPort().address(); }

/// The agent as a child process, for the demo, the tests and the benchmarks. Ends with this object, by SIGKILL if it
/// has not ended before. Its stderr is collected all along, so that it never blocks on it; its standard output is ours.
///
/// For one thread at a time; others may call channel, waitUntilServing, signal and stderrText while nobody restarts it.
class AgentProcess {
 public:
   struct Options {
      std::string program;                 // path of the agent
      std::string listen;                  // empty: a Unix socket of its own
      std::vector<std::string> arguments;  // after --listen
   };

   /// Starts the process. Throws std::system_error if it cannot be started; does not wait for it to listen.
   explicit AgentProcess(Options options);
   ~AgentProcess();
   AgentProcess(AgentProcess const&) = delete;
   AgentProcess& operator=(AgentProcess const&) = delete;

   /// Starts it again, as it was started, at the same address; it must have ended, waitForEnd() having said so.
   void restart();

   std::string const& address() const { return address_; }
   pid_t pid() const { return pid_; }

   /// A new channel of its own connection, with no limit to the size of an answer.
   std::shared_ptr<grpc::Channel> channel() const;
   /// Whether the agent accepts connections before the time is over.
   bool waitUntilServing(std::chrono::milliseconds timeout = std::chrono::seconds(20)) const;

   /// Sends a signal. Not once waitForEnd has told the end: the number may be another process's by then.
   void signal(int number) const;
   /// The status of waitpid, once the process has ended; nothing if it has not in time.
   std::optional<int> waitForEnd(std::chrono::milliseconds timeout = std::chrono::seconds(20));

   /// All that the agent has written to stderr so far, over all of its starts; complete once it has ended.
   std::string stderrText() const;

 private:
   void start();
   void spawn(int stderrWrite);
   void collect(int stderrRead);

   Options const options_;
   std::optional<TempFolder> folder_;  // of the Unix socket
   std::string address_;
   pid_t pid_ = -1;
   std::optional<int> status_;
   mutable std::mutex mutex_;
   std::string stderr_;  // guarded by mutex_
   std::thread collector_;
};

}  // namespace VelmSdkRpc
