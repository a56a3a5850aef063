#pragma once

namespace velm::machine {

/// The right to be the dataplane of a network namespace: one process has it, for as long as this lives or the process
/// does.
class InstanceLock {
 public:
   /// Throws velm::error if another process has it.
   InstanceLock();
   ~InstanceLock();
   InstanceLock(InstanceLock const&) = delete;
   InstanceLock& operator=(InstanceLock const&) = delete;

 private:
   int socket_;
};

}  // namespace velm::machine
