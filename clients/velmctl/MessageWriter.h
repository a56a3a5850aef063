#pragma once

#include <google/protobuf/message.h>

#include "clients/velmctl/Json.h"

namespace VelmSdkRpc::ctl {

/// An answer as people read it, in the form that readMessage takes. Fields that have no presence are written also when
/// they are 0, false or empty, so that an answer of "false" says so; empty lists and what is absent are left out.
Json writeMessage(google::protobuf::Message const& message, JsonAllocator& allocator);

}  // namespace VelmSdkRpc::ctl
