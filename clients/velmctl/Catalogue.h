#pragma once

#include <google/protobuf/descriptor.h>

#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The services, methods and types of the agent, as the compiled schemas tell them: velmctl knows none of them by
/// itself.
namespace VelmSdkRpc::ctl {

using google::protobuf::Descriptor;
using google::protobuf::EnumDescriptor;
using google::protobuf::MethodDescriptor;
using google::protobuf::ServiceDescriptor;

/// All services, the native one first, the others by name.
std::vector<ServiceDescriptor const*> const& services();
std::vector<MethodDescriptor const*> methods();

/// "Service.method", which names it on the command line.
std::string nameOf(MethodDescriptor const& method);

/// Finds a service by its name with or without the package. Throws UsageError, which tells what was perhaps meant.
ServiceDescriptor const& serviceNamed(std::string_view name);
/// Finds a method by "Service.method" or "package.Service.method", also with a slash before the method. Throws
/// UsageError, which tells what was perhaps meant.
MethodDescriptor const& methodNamed(std::string_view name);

/// A message or enum of the schemas, also one that stands in another, by its name with or without what surrounds it;
/// null if there is none.
Descriptor const* findMessage(std::string_view name);
EnumDescriptor const* findEnum(std::string_view name);
/// All messages and enums that stand on the top level of the schemas.
std::vector<std::string> typeNames();

/// The names of the parts of something, each of which `part` gives by its index.
template <class Part>
std::vector<std::string> namesOf(int count, Part part) {
   std::vector<std::string> names;
   names.reserve(static_cast<std::size_t>(count));
   for (int i = 0; i < count; ++i) names.push_back(part(i)->name());
   return names;
}

/// " (did you mean X?)" with the nearest of the names if one is near, else nothing.
std::string suggestion(std::string_view given, std::span<std::string const> names);

}  // namespace VelmSdkRpc::ctl
