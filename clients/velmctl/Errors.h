#pragma once

#include <exception>
#include <stdexcept>

/// How a run of velmctl ends when it does not end well.
namespace VelmSdkRpc::ctl {

/// The exit statuses of the process, by which scripts tell failures apart.
struct ExitStatus {
   static constexpr int ok = 0;
   static constexpr int refused = 1;  // the agent or the switch said no to a request that arrived
   static constexpr int usage = 2;    // nothing was sent
   static constexpr int local = 3;    // a file or a stream of this side fails
   static constexpr int call = 64;    // and the number of the gRPC status
   static constexpr int interrupted = 130;
};

/// A mistake in the command line or in a file that it names; the text tells its place and the reason. Nothing was sent.
class UsageError : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

/// The request arrived, and its answer is a no.
class Refused : public std::runtime_error {
 public:
   using std::runtime_error::runtime_error;
};

/// Ctrl-C, or another request to stop, came before the end.
class Interrupted : public std::exception {
 public:
   char const* what() const noexcept override { return "interrupted"; }
};

}  // namespace VelmSdkRpc::ctl
