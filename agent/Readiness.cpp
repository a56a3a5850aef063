#include "agent/Readiness.h"

#include <systemd/sd-daemon.h>

namespace VelmSdkRpc {

void notifyReady() { sd_notify(0, "READY=1"); }
void notifyStopping() { sd_notify(0, "STOPPING=1"); }

}  // namespace VelmSdkRpc
