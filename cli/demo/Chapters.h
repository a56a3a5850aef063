#pragma once

#include "cli/demo/Stage.h"

/// The story in two parts. Each throws std::runtime_error for the first claim that does not hold.
namespace VelmSdkRpc::demo {

/// A controller comes to a fresh switch and programs all of its plan, which it leaves on the stage.
void playFirstController(Stage& stage);

/// One successor takes part of that over; another one finds it after the agent has been stopped and started again.
/// Ends with the agent stopped.
void playSuccessors(Stage& stage);

}  // namespace VelmSdkRpc::demo
