#include "clients/velmctl/MessageReader.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <charconv>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

#include "clients/support/Address.h"
#include "clients/velmctl/Catalogue.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/TextForm.h"

// Protobuf has a reader of JSON, which is not used: it takes bytes as base64, where people write addresses, and its
// refusals do not say in which element of which list the mistake is. The walk here goes by reflection in the same way,
// and keeps the place that it has come to:
//
//    requests=[{"key": {"prefix": "10.0.0/8"}}]
//    requests[0].key.prefix: expected a prefix like "10.0.0.0/8", not "10.0.0/8"
namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

/// A field of a message, to be set or, if it is a list, appended to.
struct Slot {
   Message& message;
   FieldDescriptor const& field;

   template <class Value>
   using Put = void (google::protobuf::Reflection::*)(Message*, FieldDescriptor const*, Value) const;

   template <class Value, class Given>
   void put(Put<Value> set, Put<Value> add, Given&& value) const {
      (message.GetReflection()->*(field.is_repeated() ? add : set))(&message, &field, std::forward<Given>(value));
   }
   Message& nested() const {
      auto const* const reflection = message.GetReflection();
      return field.is_repeated() ? *reflection->AddMessage(&message, &field)
                                 : *reflection->MutableMessage(&message, &field);
   }
};

/// Walks a request and the JSON beside it, field by field, by protobuf's reflection: no type is known here. It keeps
/// the place that it has come to, so that every refusal can name it. A field of a "oneof" refuses a second choice,
/// which protobuf itself would take silently in the place of the first.
class Reader {
 public:
   void read(Json const& value, Message& message) {
      if (!value.IsObject()) expected("an object", value);
      for (auto const& member : value.GetObject()) {
         auto const& field = fieldNamed(textOf(member.name), message);
         Step const step(*this, field.name());
         readField(member.value, message, field);
      }
   }

   /// Reads one argument: `path` is the dotted name of the field, `text` its value.
   void readAt(std::string_view path, std::string_view text, Message& message) {
      auto const dot = path.find('.');
      auto const& field = fieldNamed(path.substr(0, dot), message);
      Step const step(*this, field.name());
      if (dot == std::string_view::npos) {
         readText(text, {message, field});
         return;
      }
      if (field.cpp_type() != FieldDescriptor::CPPTYPE_MESSAGE || field.is_repeated()) {
         fail(fmt::format("no field \"{}\" in it", path.substr(dot + 1)));
      }
      refuseSecondChoice(message, field);
      readAt(path.substr(dot + 1), text, *message.GetReflection()->MutableMessage(&message, &field));
   }

 private:
   /// A step into a field or an element, which the place names while the step is taken.
   class Step {
    public:
      Step(Reader& reader, std::string_view name) : reader_(reader), size_(reader.place_.size()) {
         if (size_ > 0 && !name.starts_with('[')) reader_.place_ += '.';
         reader_.place_ += name;
      }
      ~Step() { reader_.place_.resize(size_); }
      Step(Step const&) = delete;
      Step& operator=(Step const&) = delete;

    private:
      Reader& reader_;
      std::size_t size_;
   };

   [[noreturn]] void fail(std::string const& what) const {
      throw UsageError(place_.empty() ? what : fmt::format("{}: {}", place_, what));
   }
   [[noreturn]] void expected(std::string_view what, Json const& value) const {
      fail(fmt::format("expected {}, not {}", what, compactText(value)));
   }

   FieldDescriptor const& fieldNamed(std::string_view name, Message const& message) const {
      auto const& type = *message.GetDescriptor();
      std::string const text(name);
      if (auto const* const field = type.FindFieldByName(text)) return *field;
      if (auto const* const field = type.FindFieldByCamelcaseName(text)) return *field;
      auto const names = namesOf(type.field_count(), [&](int i) { return type.field(i); });
      auto const offer = names.empty() ? std::string("it has none") : fmt::format("it has {}", fmt::join(names, ", "));
      fail(fmt::format("{} has no field \"{}\"{}; {}", type.name(), name, suggestion(name, names), offer));
   }

   void refuseSecondChoice(Message const& message, FieldDescriptor const& field) const {
      auto const* const choice = field.containing_oneof();
      if (choice == nullptr) return;
      auto const* const chosen = message.GetReflection()->GetOneofFieldDescriptor(message, choice);
      if (chosen != nullptr && chosen != &field) fail(fmt::format("excludes {}, which is given, too", chosen->name()));
   }

   void readField(Json const& value, Message& message, FieldDescriptor const& field) {
      if (value.IsNull()) return;
      refuseSecondChoice(message, field);
      Slot const slot{message, field};
      if (field.is_map()) {
         readMap(value, slot);
      } else if (field.is_repeated()) {
         if (!value.IsArray()) expected("a list", value);
         for (rapidjson::SizeType i = 0; i < value.Size(); ++i) {
            Step const step(*this, fmt::format("[{}]", i));
            readOne(value[i], slot);
         }
      } else {
         readOne(value, slot);
      }
   }

   void readMap(Json const& value, Slot const& slot) {
      if (!value.IsObject()) expected("an object by index", value);
      auto const& entryType = *slot.field.message_type();
      for (auto const& member : value.GetObject()) {
         Step const step(*this, fmt::format("[{}]", textOf(member.name)));
         auto& entry = slot.nested();
         readOne(member.name, {entry, *entryType.map_key()});
         readOne(member.value, {entry, *entryType.map_value()});
      }
   }

   void readOne(Json const& value, Slot const& slot) {
      using google::protobuf::Reflection;
      switch (slot.field.cpp_type()) {
         case FieldDescriptor::CPPTYPE_MESSAGE: readNested(value, slot.nested()); return;
         case FieldDescriptor::CPPTYPE_STRING: {
            auto text = slot.field.type() == FieldDescriptor::TYPE_BYTES ? bytesOf(value, slot.field) : stringOf(value);
            slot.put<std::string>(&Reflection::SetString, &Reflection::AddString, std::move(text));
            return;
         }
         case FieldDescriptor::CPPTYPE_ENUM:
            slot.put<google::protobuf::EnumValueDescriptor const*>(&Reflection::SetEnum, &Reflection::AddEnum,
                                                                   &enumOf(value, *slot.field.enum_type()));
            return;
         case FieldDescriptor::CPPTYPE_BOOL:
            if (!value.IsBool()) expected("true or false", value);
            slot.put<bool>(&Reflection::SetBool, &Reflection::AddBool, value.GetBool());
            return;
         case FieldDescriptor::CPPTYPE_DOUBLE:
            if (!value.IsNumber()) expected("a number", value);
            slot.put<double>(&Reflection::SetDouble, &Reflection::AddDouble, value.GetDouble());
            return;
         case FieldDescriptor::CPPTYPE_FLOAT:
            if (!value.IsNumber()) expected("a number", value);
            slot.put<float>(&Reflection::SetFloat, &Reflection::AddFloat, value.GetFloat());
            return;
         case FieldDescriptor::CPPTYPE_UINT32:
            return slot.put<std::uint32_t>(&Reflection::SetUInt32, &Reflection::AddUInt32,
                                           number<std::uint32_t>(value));
         case FieldDescriptor::CPPTYPE_UINT64:
            return slot.put<std::uint64_t>(&Reflection::SetUInt64, &Reflection::AddUInt64,
                                           number<std::uint64_t>(value));
         case FieldDescriptor::CPPTYPE_INT32:
            return slot.put<std::int32_t>(&Reflection::SetInt32, &Reflection::AddInt32, number<std::int32_t>(value));
         case FieldDescriptor::CPPTYPE_INT64:
            return slot.put<std::int64_t>(&Reflection::SetInt64, &Reflection::AddInt64, number<std::int64_t>(value));
      }
   }

   void readNested(Json const& value, Message& message) {
      auto const form = textFormOf(*message.GetDescriptor());
      if (value.IsObject() || form == TextForm::none) return read(value, message);
      auto const& first = *message.GetDescriptor()->field(0);
      if (form == TextForm::value) return readOne(value, {message, first});
      if (!value.IsString()) expected(prefixForm, value);
      try {
         auto network = networkOf(textOf(value));
         message.GetReflection()->SetString(&message, &first, std::move(network.address));
         message.GetReflection()->SetUInt32(&message, message.GetDescriptor()->field(1), network.length);
      } catch (std::invalid_argument const&) {
         expected(prefixForm, value);
      }
   }

   std::string stringOf(Json const& value) const {
      if (!value.IsString()) expected("a text", value);
      return std::string(textOf(value));
   }

   std::string bytesOf(Json const& value, FieldDescriptor const& field) const {
      auto const what = isMac(field) ? macForm : addressForm;
      if (!value.IsString()) expected(what, value);
      std::string const text(textOf(value));
      if (text.empty()) return {};
      try {
         return isMac(field) ? macBytes(text) : addressBytes(text);
      } catch (std::invalid_argument const&) {
         expected(what, value);
      }
   }

   google::protobuf::EnumValueDescriptor const& enumOf(Json const& value, EnumDescriptor const& type) const {
      google::protobuf::EnumValueDescriptor const* found = nullptr;
      if (value.IsInt()) found = type.FindValueByNumber(value.GetInt());
      if (value.IsString()) found = type.FindValueByName(std::string(textOf(value)));
      if (found != nullptr) return *found;
      auto const names = namesOf(type.value_count(), [&](int i) { return type.value(i); });
      auto const meant = value.IsString() ? suggestion(textOf(value), names) : std::string();
      expected(fmt::format("one of {}", fmt::join(names, ", ")), value, meant);
   }
   [[noreturn]] void expected(std::string_view what, Json const& value, std::string_view meant) const {
      fail(fmt::format("expected {}, not {}{}", what, compactText(value), meant));
   }

   template <class Number>
   Number number(Json const& value) const {
      Number result{};
      // A number of 64 bits may be a text, for tools that have none so wide.
      auto const digits = value.IsString() ? std::string(textOf(value)) : compactText(value);
      auto const [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), result);
      if (digits.empty() || error != std::errc() || end != digits.data() + digits.size()) {
         using Limits = std::numeric_limits<Number>;
         expected(fmt::format("a whole number from {} to {}", Limits::min(), Limits::max()), value);
      }
      return result;
   }

   /// The text typed as a field's value is taken as it is, so that texts, addresses and names need no quotes of
   /// JSON within those of the shell. It is JSON where it looks like a list or an object for a field that can be one,
   /// and where the field has words or numbers that JSON alone tells apart.
   void readText(std::string_view text, Slot const& slot) {
      bool const isText = slot.field.cpp_type() == FieldDescriptor::CPPTYPE_STRING;
      bool const isList = slot.field.is_repeated() && text.starts_with('[');
      bool const isObject = slot.field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE && text.starts_with('{');
      bool const isWord = slot.field.cpp_type() == FieldDescriptor::CPPTYPE_BOOL ||
                          slot.field.cpp_type() == FieldDescriptor::CPPTYPE_DOUBLE;
      bool const isJson = isList || isObject || slot.field.is_map() || (isWord && !isText);
      JsonDocument value;
      if (isJson) {
         try {
            value = parseJson(text);
         } catch (UsageError const& e) {
            fail(fmt::format("{} in {}", e.what(), text));
         }
      } else {
         value.SetString(text.data(), static_cast<rapidjson::SizeType>(text.size()), value.GetAllocator());
      }
      refuseSecondChoice(slot.message, slot.field);
      if (slot.field.is_repeated() && !isList && !slot.field.is_map()) {
         readOne(value, slot);
      } else {
         readField(value, slot.message, slot.field);
      }
   }

   std::string place_;  // "requests[1].key"; empty for the request itself
};

}  // namespace

void readMessage(Json const& object, Message& message) { Reader().read(object, message); }

void readMessage(std::string_view json, Message& message) { readMessage(parseJson(json), message); }

void readArgument(std::string_view argument, Message& message) {
   auto const equals = argument.find('=');
   if (equals == std::string_view::npos) throw UsageError(fmt::format("expected FIELD=VALUE, not {}", argument));
   Reader().readAt(argument.substr(0, equals), argument.substr(equals + 1), message);
}

}  // namespace VelmSdkRpc::ctl
