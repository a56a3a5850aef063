#pragma once

#include <google/protobuf/message.h>

#include <string_view>

#include "clients/velmctl/Json.h"

/// Requests as people type them: JSON under the names of the schema, in which an address, a prefix, a MAC address and
/// an interface are texts, and so is the name of an enum's value. A field that is null stays absent.
///
/// All throw UsageError with the place and with what was expected there; the message is then of no use.
namespace VelmSdkRpc::ctl {

void readMessage(Json const& object, google::protobuf::Message& message);

/// Reads a text that is a JSON object.
void readMessage(std::string_view json, google::protobuf::Message& message);

/// "FIELD=VALUE": one field, of a message within if the name has dots. The value is a bare text or JSON; to a list it
/// is appended, or a whole list in JSON.
void readArgument(std::string_view argument, google::protobuf::Message& message);

}  // namespace VelmSdkRpc::ctl
