#pragma once

#include "clients/demo/Controller.h"
#include "clients/demo/Plan.h"

namespace VelmSdkRpc::demo {

/// Sets again all of the plan but its pairs, which are no part of a resync. Throws std::runtime_error if anything is
/// refused.
void repeat(Controller& controller, Plan const& plan);

}  // namespace VelmSdkRpc::demo
