#pragma once

#include <google/protobuf/descriptor.h>

/// Values that people write as one text though the schemas have a message or bare bytes for them.
namespace VelmSdkRpc::ctl {

enum class TextForm {
   none,    // a message as any other
   value,   // a message with one scalar field: as that alone, "Ethernet1"
   prefix,  // a message with an address and a length: "10.0.0.0/8"
};

/// The form of a message that is the value of a field; a request as a whole is always an object.
TextForm textFormOf(google::protobuf::Descriptor const& message);

/// Bytes are addresses but for those that are MAC addresses.
bool isMac(google::protobuf::FieldDescriptor const& field);

}  // namespace VelmSdkRpc::ctl
