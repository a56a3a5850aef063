#pragma once

#include "clients/demo/Stage.h"

/// The story in four parts. Each throws std::runtime_error for the first claim that does not hold.
namespace VelmSdkRpc::demo {

/// A controller comes to a fresh switch and programs all of its plan, which it leaves on the stage.
void playFirstController(Stage& stage);

/// It redirects some packets of groups into others, changes which, and takes a removal back.
void playRedirects(Stage& stage);

/// One successor takes part of that over, and has its ways tested by sessions; another one finds all of it after the
/// agent has been stopped and started again, and has introduced itself at the end.
void playSuccessors(Stage& stage);

/// It watches the sessions live. Ends with the agent stopped.
void playMonitor(Stage& stage);

}  // namespace VelmSdkRpc::demo
