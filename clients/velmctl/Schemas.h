#pragma once

#include <google/protobuf/descriptor.h>

#include <string>

#include "clients/velmctl/Catalogue.h"

/// The schemas with their comments, which compiled messages do not have.
namespace VelmSdkRpc::ctl {

/// The text of a part as it stands in its file, with the comments; types are named without their package.
std::string schemaOf(ServiceDescriptor const& service);
std::string schemaOf(MethodDescriptor const& method);
std::string schemaOf(Descriptor const& message);
std::string schemaOf(EnumDescriptor const& type);

/// The comment in front of a part, on one line; empty if there is none.
std::string commentOf(ServiceDescriptor const& service);
std::string commentOf(MethodDescriptor const& method);
std::string commentOf(Descriptor const& message);
std::string commentOf(EnumDescriptor const& type);
std::string commentOf(google::protobuf::FieldDescriptor const& field);
std::string commentOf(google::protobuf::EnumValueDescriptor const& value);

}  // namespace VelmSdkRpc::ctl
