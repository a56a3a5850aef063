#include "clients/velmctl/Schemas.h"

#include <absl/strings/str_replace.h>
#include <google/protobuf/descriptor.pb.h>

#include <memory>

#include "clients/velmctl/Embedded.h"
#include "clients/velmctl/Split.h"

// Descriptors of compiled schemas have no comments. So the build puts a second description into the program, one that
// has them, and each descriptor is looked up there by its full name. It is read when a comment is first asked for.
namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::DescriptorPool;
using google::protobuf::EnumValueDescriptor;
using google::protobuf::FieldDescriptor;

/// Protoc tells the JSON name of every field, which nobody has chosen.
void forgetJsonNames(google::protobuf::DescriptorProto& message) {
   for (auto& field : *message.mutable_field()) field.clear_json_name();
   for (auto& nested : *message.mutable_nested_type()) forgetJsonNames(nested);
}

DescriptorPool const& pool() {
   static auto const made = [] {
      google::protobuf::FileDescriptorSet files;
      files.ParseFromArray(embeddedSchemas().data(), static_cast<int>(embeddedSchemas().size()));
      auto filled = std::make_unique<DescriptorPool>();
      for (auto& file : *files.mutable_file()) {
         for (auto& message : *file.mutable_message_type()) forgetJsonNames(message);
         filled->BuildFile(file);
      }
      return filled;
   }();
   return *made;
}

ServiceDescriptor const* commented(ServiceDescriptor const& it) { return pool().FindServiceByName(it.full_name()); }
MethodDescriptor const* commented(MethodDescriptor const& it) { return pool().FindMethodByName(it.full_name()); }
Descriptor const* commented(Descriptor const& it) { return pool().FindMessageTypeByName(it.full_name()); }
EnumDescriptor const* commented(EnumDescriptor const& it) { return pool().FindEnumTypeByName(it.full_name()); }
FieldDescriptor const* commented(FieldDescriptor const& it) { return pool().FindFieldByName(it.full_name()); }
EnumValueDescriptor const* commented(EnumValueDescriptor const& it) {
   return pool().FindEnumTypeByName(it.type()->full_name())->FindValueByName(it.name());
}

template <class T>
std::string schema(T const& it) {
   google::protobuf::DebugStringOptions options;
   options.include_comments = true;
   return absl::StrReplaceAll(commented(it)->DebugStringWithOptions(options),
                              {{".velm.remote.", ""}, {".VelmSdkRpc.pb.", ""}});
}

template <class T>
std::string comment(T const& it) {
   google::protobuf::SourceLocation location;
   if (!commented(it)->GetSourceLocation(&location)) return {};
   std::string words;
   for (auto const word : split(location.leading_comments, " \n")) {
      if (!words.empty()) words += ' ';
      words += word;
   }
   return words;
}

}  // namespace

std::string schemaOf(ServiceDescriptor const& service) { return schema(service); }
std::string schemaOf(MethodDescriptor const& method) { return schema(method); }
std::string schemaOf(Descriptor const& message) { return schema(message); }
std::string schemaOf(EnumDescriptor const& type) { return schema(type); }

std::string commentOf(ServiceDescriptor const& service) { return comment(service); }
std::string commentOf(MethodDescriptor const& method) { return comment(method); }
std::string commentOf(Descriptor const& message) { return comment(message); }
std::string commentOf(EnumDescriptor const& type) { return comment(type); }
std::string commentOf(FieldDescriptor const& field) { return comment(field); }
std::string commentOf(EnumValueDescriptor const& value) { return comment(value); }

}  // namespace VelmSdkRpc::ctl
