#pragma once

namespace velm::machine {

/// Waits for the BPF programs that run at the call: the kernel does so before it answers an update of a map of maps.
/// What GracePeriods waits by where programs read; takes milliseconds. Needs CAP_BPF.
class KernelGrace {
 public:
   /// Throws velm::error if the kernel refuses the maps.
   KernelGrace();
   ~KernelGrace();
   KernelGrace(KernelGrace const&) = delete;
   KernelGrace& operator=(KernelGrace const&) = delete;

   /// For one thread at a time.
   void wait() const;

 private:
   int inner_;
   int outer_;
};

}  // namespace velm::machine
