#pragma once

namespace VelmSdkRpc {

/// Tell the service manager that started the agent, if one did (it names itself in NOTIFY_SOCKET), where the agent
/// stands. On any thread. Whether it has been heard is not known: the agent does the same either way.
void notifyReady();
void notifyStopping();

}  // namespace VelmSdkRpc
