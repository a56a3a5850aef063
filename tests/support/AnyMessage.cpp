#include "tests/support/AnyMessage.h"

#include <google/protobuf/descriptor.h>

#include <array>
#include <limits>
#include <random>

namespace VelmSdkRpc {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;
using google::protobuf::Reflection;

bool isPrefix(google::protobuf::Descriptor const& type) {
   return type.field_count() == 2 && type.field(0)->type() == FieldDescriptor::TYPE_BYTES &&
          type.field(1)->name().ends_with("_length");
}

}  // namespace

AnyMessage::AnyMessage(std::uint32_t seed)
   : AnyMessage(
        [random = std::mt19937(seed)](std::uint32_t bound) mutable -> std::uint32_t { return random() % bound; }) {}

void AnyMessage::fill(Message& message, int depth) {
   fillFields(message, depth);
   message.ParseFromString(message.SerializeAsString());  // of two entries with one key in a map the last one stays
}

void AnyMessage::fillFields(Message& message, int depth) {
   auto const& type = *message.GetDescriptor();
   if (isPrefix(type)) return fillPrefix(message);
   for (int i = 0; i < type.field_count(); ++i) {
      auto const& field = *type.field(i);
      bool const isTooDeep = field.cpp_type() == FieldDescriptor::CPPTYPE_MESSAGE && depth == 0;
      if (isTooDeep || upTo(4) == 0) continue;
      // The last member of a oneof that is set stays.
      for (auto left = field.is_repeated() ? count(field) : 1; left > 0; --left) fillOne(message, field, depth);
   }
}

void AnyMessage::fillPrefix(Message& message) {
   auto const& type = *message.GetDescriptor();
   auto const [address, length] = prefix();
   message.GetReflection()->SetString(&message, type.field(0), address);
   message.GetReflection()->SetUInt32(&message, type.field(1), length);
}

std::pair<std::string, std::uint32_t> AnyMessage::prefix() {
   auto address = randomBytes(std::array<std::size_t, 3>{0, 4, 16}[upTo(3)]);
   auto const length = upTo(static_cast<std::uint32_t>(address.size()) * 8 + 1);
   return {std::move(address), length};
}

void AnyMessage::fillOne(Message& message, Field const& field, int depth) {
   auto const* const reflection = message.GetReflection();
   auto const put = [&](auto set, auto add, auto value) {
      (reflection->*(field.is_repeated() ? add : set))(&message, &field, value);
   };
   switch (field.cpp_type()) {
      case FieldDescriptor::CPPTYPE_MESSAGE:
         return fillFields(field.is_repeated() ? *reflection->AddMessage(&message, &field)
                                               : *reflection->MutableMessage(&message, &field),
                           depth - 1);
      case FieldDescriptor::CPPTYPE_STRING:
         return put(&Reflection::SetString, &Reflection::AddString,
                    field.type() == FieldDescriptor::TYPE_BYTES ? bytes(field) : text(field));
      case FieldDescriptor::CPPTYPE_ENUM:
         return put(&Reflection::SetEnumValue, &Reflection::AddEnumValue, enumNumber(field));
      case FieldDescriptor::CPPTYPE_BOOL: return put(&Reflection::SetBool, &Reflection::AddBool, upTo(2) == 1);
      case FieldDescriptor::CPPTYPE_DOUBLE:
         return put(&Reflection::SetDouble, &Reflection::AddDouble, 0.25 * upTo(1000));
      case FieldDescriptor::CPPTYPE_FLOAT:
         return put(&Reflection::SetFloat, &Reflection::AddFloat, 0.25F * static_cast<float>(upTo(1000)));
      case FieldDescriptor::CPPTYPE_UINT32:
         return put(&Reflection::SetUInt32, &Reflection::AddUInt32, static_cast<std::uint32_t>(number(field)));
      case FieldDescriptor::CPPTYPE_UINT64: return put(&Reflection::SetUInt64, &Reflection::AddUInt64, number(field));
      case FieldDescriptor::CPPTYPE_INT32:
         return put(&Reflection::SetInt32, &Reflection::AddInt32, static_cast<std::int32_t>(number(field)));
      case FieldDescriptor::CPPTYPE_INT64:
         return put(&Reflection::SetInt64, &Reflection::AddInt64, static_cast<std::int64_t>(number(field)));
   }
}

std::string AnyMessage::text(Field const& /*field*/) {
   static std::array<std::string, 8> const texts{
      "", "a", "b", "red", "Ethernet1", "Port-Channel7", "with \"quotes\" and\na line", "gr\u00fc\u00dfe"};
   return texts[upTo(texts.size())];
}

std::string AnyMessage::bytes(Field const& field) {
   if (field.name().ends_with("mac")) return randomBytes(upTo(4) == 0 ? 0 : 6);
   return randomBytes(std::array<std::size_t, 4>{0, 4, 4, 16}[upTo(4)]);
}

std::string AnyMessage::randomBytes(std::size_t size) {
   std::string bytes(size, '\0');
   for (auto& byte : bytes) byte = static_cast<char>(upTo(256));
   return bytes;
}

int AnyMessage::enumNumber(Field const& field) {
   auto const values = static_cast<std::uint32_t>(field.enum_type()->value_count());
   return field.enum_type()->value(static_cast<int>(upTo(values)))->number();
}

std::uint32_t AnyMessage::count(Field const& /*field*/) { return upTo(3); }

std::uint64_t AnyMessage::number(Field const& /*field*/) {
   switch (upTo(4)) {
      case 0: return upTo(4);
      case 1: return upTo(1U << 20U);
      case 2: return std::numeric_limits<std::uint64_t>::max();
      default: return std::uint64_t{upTo(std::numeric_limits<std::uint32_t>::max())} << upTo(33);
   }
}

}  // namespace VelmSdkRpc
