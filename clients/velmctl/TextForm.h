#pragma once

#include <google/protobuf/descriptor.h>

/// Where people write one text, and the schemas have a message or bare bytes.
namespace VelmSdkRpc::ctl {

enum class TextForm {
   none,    // a message as any other
   value,   // of one scalar field: as that alone, "Ethernet1"
   prefix,  // of an address and a length: "10.0.0.0/8"
};

/// Of a field's message; a request as a whole is always an object.
TextForm textFormOf(google::protobuf::Descriptor const& message);

/// Bytes are addresses but for those that are MAC addresses.
bool isMac(google::protobuf::FieldDescriptor const& field);

}  // namespace VelmSdkRpc::ctl
