#pragma once

#include <exception>
#include <string>

#include "clients/velmctl/Json.h"

namespace VelmSdkRpc::ctl {

/// What an exception means to whoever ran the command.
struct Failure {
   std::string message;
   int exitStatus;
   JsonDocument error;  // for a program: kind and message, of a call code and status, too
};

Failure failureOf(std::exception const& exception);

}  // namespace VelmSdkRpc::ctl
