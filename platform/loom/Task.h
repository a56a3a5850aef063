#pragma once

#include "platform/loom/TaskScheduler.h"

namespace Loom {

/// A task whose runs are notifications: each tells the task's reactors of attribute 130. Notification must be active.
class Task : public Qor::PtrInterface, public Runnable {
 public:
   static constexpr Qor::AttributeId runAttribute = 130;

   using Runnable::Runnable;

 protected:
   ~Task() override = default;
   void run() override { notify(runAttribute); }
};

}  // namespace Loom
