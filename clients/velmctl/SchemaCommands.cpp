// list and describe: what there is to call, without an agent. All of it comes from the schemas that are linked in,
// their comments included. For people a thing is described by its piece of schema; for programs as JSON.

#include <fmt/format.h>

#include <memory>

#include "clients/velmctl/Candidates.h"
#include "clients/velmctl/Commands.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/Schemas.h"

namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::EnumValueDescriptor;
using google::protobuf::FieldDescriptor;

void listServices(Session& session) {
   session.output().beginList(Output::List::rows);
   for (auto const* service : services()) {
      JsonDocument document(rapidjson::kObjectType);
      auto& allocator = document.GetAllocator();
      addMember(document, "service", service->name(), allocator);
      addMember(document, "methods", Json(service->method_count()), allocator);
      addMember(document, "package", service->file()->package(), allocator);
      session.output().element(document);
   }
   session.output().endList();
}

void describe(MethodDescriptor const& method, Json& object, JsonAllocator& allocator) {
   addMember(object, "method", nameOf(method), allocator);
   addMember(object, "kind", method.server_streaming() ? "stream" : "unary", allocator);
   addMember(object, "request", method.input_type()->name(), allocator);
   addMember(object, "response", method.output_type()->name(), allocator);
}

void listMethods(Session& session, std::string const& name) {
   auto const& service = serviceNamed(name);
   session.output().beginList(Output::List::rows);
   for (int i = 0; i < service.method_count(); ++i) {
      JsonDocument document(rapidjson::kObjectType);
      describe(*service.method(i), document, document.GetAllocator());
      session.output().element(document);
   }
   session.output().endList();
}

std::string typeOf(FieldDescriptor const& field) {
   if (field.is_map()) {
      auto const& entry = *field.message_type();
      return fmt::format("map<{}, {}>", typeOf(*entry.map_key()), typeOf(*entry.map_value()));
   }
   if (field.message_type() != nullptr) return field.message_type()->name();
   return field.enum_type() != nullptr ? field.enum_type()->name() : std::string(field.type_name());
}

Json described(FieldDescriptor const& field, JsonAllocator& allocator) {
   Json object(rapidjson::kObjectType);
   addMember(object, "name", field.name(), allocator);
   addMember(object, "type", typeOf(field), allocator);
   addMember(object, "list", Json(field.is_repeated() && !field.is_map()), allocator);
   if (field.containing_oneof() != nullptr) addMember(object, "oneof", field.containing_oneof()->name(), allocator);
   addMember(object, "comment", commentOf(field), allocator);
   return object;
}

Json described(EnumValueDescriptor const& value, JsonAllocator& allocator) {
   Json object(rapidjson::kObjectType);
   addMember(object, "name", value.name(), allocator);
   addMember(object, "number", Json(value.number()), allocator);
   addMember(object, "comment", commentOf(value), allocator);
   return object;
}

template <class Type>
JsonDocument described(Type const& type, std::string_view kind) {
   JsonDocument document(rapidjson::kObjectType);
   addMember(document, "name", type.full_name(), document.GetAllocator());
   addMember(document, "kind", kind, document.GetAllocator());
   addMember(document, "comment", commentOf(type), document.GetAllocator());
   return document;
}

/// A list of `count` parts, each of which `part` gives.
template <class Part>
void addParts(JsonDocument& document, std::string_view name, int count, Part part) {
   auto& allocator = document.GetAllocator();
   Json list(rapidjson::kArrayType);
   for (int i = 0; i < count; ++i) list.PushBack(described(*part(i), allocator), allocator);
   addMember(document, name, std::move(list), allocator);
}

void describeMessage(Session& session, Descriptor const& message) {
   auto document = described(message, "message");
   addParts(document, "fields", message.field_count(), [&](int i) { return message.field(i); });
   session.output().result(document, schemaOf(message));
}

void describeEnum(Session& session, EnumDescriptor const& type) {
   auto document = described(type, "enum");
   addParts(document, "values", type.value_count(), [&](int i) { return type.value(i); });
   session.output().result(document, schemaOf(type));
}

void describeService(Session& session, ServiceDescriptor const& service) {
   auto document = described(service, "service");
   auto& allocator = document.GetAllocator();
   Json methods(rapidjson::kArrayType);
   for (int i = 0; i < service.method_count(); ++i) {
      Json method(rapidjson::kObjectType);
      describe(*service.method(i), method, allocator);
      addMember(method, "comment", commentOf(*service.method(i)), allocator);
      methods.PushBack(method, allocator);
   }
   addMember(document, "methods", std::move(methods), allocator);
   session.output().result(document, schemaOf(service));
}

void describeMethod(Session& session, MethodDescriptor const& method) {
   JsonDocument document(rapidjson::kObjectType);
   describe(method, document, document.GetAllocator());
   addMember(document, "comment", commentOf(method), document.GetAllocator());
   session.output().result(document, fmt::format("{}\n{}\n{}", schemaOf(method), schemaOf(*method.input_type()),
                                                 schemaOf(*method.output_type())));
}

void describeNamed(Session& session, std::string const& name) {
   if (auto const* const message = findMessage(name)) return describeMessage(session, *message);
   if (auto const* const type = findEnum(name)) return describeEnum(session, *type);
   for (auto const* service : services()) {
      if (service->name() == name || service->full_name() == name) return describeService(session, *service);
   }
   if (name.find_first_of("./") != std::string::npos) return describeMethod(session, methodNamed(name));
   throw UsageError(
      fmt::format("no service, method, message or enum \"{}\"{}", name, suggestion(name, describable(name))));
}

}  // namespace

void addSchemaCommands(Commands const& commands) {
   auto const service = std::make_shared<std::string>();
   auto const list = [service](Session& session) {
      return service->empty() ? listServices(session) : listMethods(session, *service);
   };
   commands.add("list", "List the services, or the methods of one", list, serviceCandidates)
      .add_option("SERVICE", *service, "Whose methods to list")
      ->option_text(" ");

   auto const name = std::make_shared<std::string>();
   auto const describe = [name](Session& session) { describeNamed(session, *name); };
   commands.add("describe", "Tell what the schemas say of something", describe, typeCandidates)
      .add_option("NAME", *name, "A service, SERVICE.METHOD, a message or an enum")
      ->required()
      ->option_text(" ");
}

}  // namespace VelmSdkRpc::ctl
