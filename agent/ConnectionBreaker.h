#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace VelmSdkRpc {

/// Bounds a wait that a peer could make last for ever: unless this object goes before the time is over, it ends the
/// connections of the sockets on which the process listened when it was made, as the network would. What is under way
/// on them fails; whatever else is open stays. It does so once: a connection made later is not touched.
class ConnectionBreaker {
 public:
   /// Starts a thread, which waits for the time or the end of this object.
   explicit ConnectionBreaker(std::chrono::milliseconds patience);
   /// Does not wait for the time, only for connections that are being ended just now.
   ~ConnectionBreaker();
   ConnectionBreaker(ConnectionBreaker const&) = delete;
   ConnectionBreaker& operator=(ConnectionBreaker const&) = delete;

 private:
   std::vector<std::string> const listening_;  // addresses
   std::mutex mutex_;
   std::condition_variable over_;
   bool isOver_ = false;  // guarded by mutex_
   std::thread thread_;   // last: it uses the others
};

}  // namespace VelmSdkRpc
