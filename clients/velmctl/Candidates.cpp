#include "clients/velmctl/Candidates.h"

#include <fmt/format.h>

#include "clients/velmctl/Catalogue.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/TextForm.h"

// The schemas say what can be typed. One word is completed in steps, so that the list of the next step is short:
// service, then method; field, then the fields within it, then its value where that is an enum or a flag. Words that
// nothing is known about have no candidates, and no error: the shell completes them in its own way.
namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::FieldDescriptor;

/// Methods, once the service is typed; until then services, each with the dot that leads on.
Words methodCandidates(std::string_view beginning) {
   Words words;
   bool const knowsService = beginning.find('.') != std::string_view::npos;
   for (auto const* service : services()) {
      if (!knowsService) {
         words.push_back(service->name() + ".");
         continue;
      }
      for (int i = 0; i < service->method_count(); ++i) words.push_back(nameOf(*service->method(i)));
   }
   return words;
}

bool hasFieldsOfItsOwn(FieldDescriptor const& field) {
   return field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE && !field.is_repeated() &&
          textFormOf(*field.message_type()) == TextForm::none;
}

/// A dotted path, as far as it has been typed.
struct Path {
   Descriptor const* message;  // whose field comes next; null if there is no such path
   std::string before;         // what leads there, with its last dot
   std::string_view rest;      // what is typed after it
};

Path follow(Descriptor const& type, std::string_view typed) {
   Path path{&type, {}, typed};
   for (auto dot = typed.find('.'); dot != std::string_view::npos; dot = path.rest.find('.')) {
      auto const* const field = path.message->FindFieldByName(std::string(path.rest.substr(0, dot)));
      if (field == nullptr || !hasFieldsOfItsOwn(*field)) return {nullptr, {}, {}};
      path = {field->message_type(), path.before + field->name() + ".", path.rest.substr(dot + 1)};
   }
   return path;
}

Words fieldCandidates(Descriptor const& type, std::string_view beginning) {
   auto const path = follow(type, beginning);
   Words words;
   for (int i = 0; path.message != nullptr && i < path.message->field_count(); ++i) {
      auto const& field = *path.message->field(i);
      words.push_back(path.before + field.name() + (hasFieldsOfItsOwn(field) ? "." : "="));
   }
   return words;
}

/// "field=value" for each value that can be told in advance: the names of an enum, or the words of a bool.
Words valueCandidates(Descriptor const& type, std::string_view beginning) {
   auto const name = beginning.substr(0, beginning.find('='));
   auto const path = follow(type, name);
   auto const* const field = path.message == nullptr ? nullptr : path.message->FindFieldByName(std::string(path.rest));
   Words words;
   auto const offer = [&](std::string_view value) { words.push_back(fmt::format("{}={}", name, value)); };
   if (field != nullptr && field->enum_type() != nullptr) {
      for (int i = 0; i < field->enum_type()->value_count(); ++i) offer(field->enum_type()->value(i)->name());
   }
   if (field != nullptr && field->cpp_type() == FieldDescriptor::CPPTYPE_BOOL) {
      offer("false");
      offer("true");
   }
   return words;
}

}  // namespace

Words serviceCandidates(Words const& before, std::string const& /*beginning*/) {
   Words words;
   if (before.empty()) {
      for (auto const* service : services()) words.push_back(service->name());
   }
   return words;
}

Words typeCandidates(Words const& before, std::string const& beginning) {
   return before.empty() ? describable(beginning) : Words();
}

Words callCandidates(Words const& before, std::string const& beginning) {
   if (before.empty()) return methodCandidates(beginning);
   try {
      auto const& type = *methodNamed(before[0]).input_type();
      return beginning.find('=') == std::string::npos ? fieldCandidates(type, beginning)
                                                      : valueCandidates(type, beginning);
   } catch (UsageError const&) {
      return {};  // of a method that is none
   }
}

Words describable(std::string_view beginning) {
   auto words = typeNames();
   for (auto const* service : services()) words.push_back(service->name());
   if (beginning.find('.') != std::string_view::npos) {
      auto const methods = methodCandidates(beginning);
      words.insert(words.end(), methods.begin(), methods.end());
   }
   return words;
}

}  // namespace VelmSdkRpc::ctl
