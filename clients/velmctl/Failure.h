#pragma once

#include <exception>
#include <string>

#include "clients/velmctl/Json.h"

namespace VelmSdkRpc::ctl {

/// An exception, as whoever ran the command is told of it.
struct Failure {
   std::string message;
   int exitStatus;
   JsonDocument error;  // for a program: kind and message, of a call code and status, too
};

Failure failureOf(std::exception const& exception);

}  // namespace VelmSdkRpc::ctl
