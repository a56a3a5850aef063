#include "clients/velmctl/Catalogue.h"

#include <fmt/format.h>
#include <google/protobuf/descriptor_database.h>

#include <algorithm>
#include <numeric>
#include <utility>

#include "clients/velmctl/Errors.h"
#include "proto/velmsdk.pb.h"

// Every schema that is linked in registers itself with protobuf before main, which is why velmctl links the library of
// generated sources whole: without a reference to a service the linker would leave it out.

namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::DescriptorPool;
using google::protobuf::FileDescriptor;

/// The project's own schemas, in the order of their names; protobuf's are in the pool, too.
std::vector<FileDescriptor const*> schemas() {
   std::vector<FileDescriptor const*> files{pb::rpc_status_msg::descriptor()->file()};
   std::vector<std::string> names;
   DescriptorPool::internal_generated_database()->FindAllFileNames(&names);
   std::ranges::sort(names);
   for (auto const& name : names) {
      if (name.starts_with("remote/")) files.push_back(DescriptorPool::generated_pool()->FindFileByName(name));
   }
   return files;
}

/// Whether the dotted name is `name`, or ends in it at a dot.
bool isCalled(std::string_view fullName, std::string_view name) {
   return fullName == name || (fullName.size() > name.size() && fullName.ends_with(name) &&
                               fullName[fullName.size() - name.size() - 1] == '.');
}

Descriptor const* findWithin(Descriptor const& message, std::string_view name) {
   if (isCalled(message.full_name(), name)) return &message;
   for (int i = 0; i < message.nested_type_count(); ++i) {
      if (auto const* const found = findWithin(*message.nested_type(i), name)) return found;
   }
   return nullptr;
}

EnumDescriptor const* findEnumWithin(Descriptor const& message, std::string_view name) {
   for (int i = 0; i < message.enum_type_count(); ++i) {
      if (isCalled(message.enum_type(i)->full_name(), name)) return message.enum_type(i);
   }
   for (int i = 0; i < message.nested_type_count(); ++i) {
      if (auto const* const found = findEnumWithin(*message.nested_type(i), name)) return found;
   }
   return nullptr;
}

/// How many characters have to be put in, left out or replaced to make one text of the other. row[j] is the distance of
/// the part of `a` so far to the first j characters of `b`.
std::size_t editDistance(std::string_view a, std::string_view b) {
   std::vector<std::size_t> row(b.size() + 1);
   std::iota(row.begin(), row.end(), 0);
   for (std::size_t i = 0; i < a.size(); ++i) {
      std::size_t diagonal = std::exchange(row[0], i + 1);
      for (std::size_t j = 0; j < b.size(); ++j) {
         auto const replaced = diagonal + (a[i] == b[j] ? 0 : 1);
         diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
      }
   }
   return row.back();
}

}  // namespace

std::vector<ServiceDescriptor const*> const& services() {
   static auto const all = [] {
      std::vector<ServiceDescriptor const*> found;
      for (auto const* file : schemas()) {
         for (int i = 0; i < file->service_count(); ++i) found.push_back(file->service(i));
      }
      return found;
   }();
   return all;
}

std::vector<MethodDescriptor const*> methods() {
   std::vector<MethodDescriptor const*> all;
   for (auto const* service : services()) {
      for (int i = 0; i < service->method_count(); ++i) all.push_back(service->method(i));
   }
   return all;
}

std::string nameOf(MethodDescriptor const& method) { return method.service()->name() + "." + method.name(); }

ServiceDescriptor const& serviceNamed(std::string_view name) {
   auto const it =
      std::ranges::find_if(services(), [&](auto* service) { return isCalled(service->full_name(), name); });
   if (it != services().end()) return **it;
   auto const names = namesOf(static_cast<int>(services().size()), [](int i) { return services()[i]; });
   throw UsageError(fmt::format("no service \"{}\"{}; `velmctl list` tells them all", name, suggestion(name, names)));
}

MethodDescriptor const& methodNamed(std::string_view name) {
   auto const separator = name.find_last_of("./");
   if (separator == std::string_view::npos) {
      throw UsageError(fmt::format("expected SERVICE.METHOD, not \"{}\"", name));
   }
   auto const& service = serviceNamed(name.substr(0, separator));
   auto const wanted = name.substr(separator + 1);
   if (auto const* const method = service.FindMethodByName(std::string(wanted))) return *method;
   auto const names = namesOf(service.method_count(), [&](int i) { return service.method(i); });
   throw UsageError(fmt::format("{0} has no method \"{1}\"{2}; `velmctl list {0}` tells them all", service.name(),
                                wanted, suggestion(wanted, names)));
}

Descriptor const* findMessage(std::string_view name) {
   for (auto const* file : schemas()) {
      for (int i = 0; i < file->message_type_count(); ++i) {
         if (auto const* const found = findWithin(*file->message_type(i), name)) return found;
      }
   }
   return nullptr;
}

EnumDescriptor const* findEnum(std::string_view name) {
   for (auto const* file : schemas()) {
      for (int i = 0; i < file->enum_type_count(); ++i) {
         if (isCalled(file->enum_type(i)->full_name(), name)) return file->enum_type(i);
      }
      for (int i = 0; i < file->message_type_count(); ++i) {
         if (auto const* const found = findEnumWithin(*file->message_type(i), name)) return found;
      }
   }
   return nullptr;
}

std::vector<std::string> typeNames() {
   std::vector<std::string> names;
   for (auto const* file : schemas()) {
      for (int i = 0; i < file->message_type_count(); ++i) names.push_back(file->message_type(i)->name());
      for (int i = 0; i < file->enum_type_count(); ++i) names.push_back(file->enum_type(i)->name());
   }
   return names;
}

std::string suggestion(std::string_view given, std::span<std::string const> names) {
   std::size_t nearest = given.size() / 3 + 2;  // of a short name any other one is near
   std::string_view meant;
   for (auto const& name : names) {
      if (auto const distance = editDistance(given, name); distance < nearest) {
         nearest = distance;
         meant = name;
      }
   }
   return meant.empty() ? std::string() : fmt::format(" (did you mean \"{}\"?)", meant);
}

}  // namespace VelmSdkRpc::ctl
