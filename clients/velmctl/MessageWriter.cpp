#include "clients/velmctl/MessageWriter.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <string>
#include <utility>
#include <vector>

#include "clients/support/Address.h"
#include "clients/velmctl/TextForm.h"

// The counterpart of MessageReader, which can read what is written here. Reflection tells the fields, in the order of
// the schema. A map's entries are sorted, since the message keeps them in no order and two answers that are equal
// should look equal.
namespace VelmSdkRpc::ctl {
namespace {

using google::protobuf::FieldDescriptor;
using google::protobuf::Message;

/// Walks a message by protobuf's reflection. The index that some methods take is that of an element in a list; a field
/// that is no list has none, which is -1.
class Writer {
 public:
   explicit Writer(JsonAllocator& allocator) : allocator_(allocator) {}

   Json object(Message const& message) {
      Json result(rapidjson::kObjectType);
      auto const& type = *message.GetDescriptor();
      auto const* const reflection = message.GetReflection();
      for (int i = 0; i < type.field_count(); ++i) {
         auto const& field = *type.field(i);
         bool const absent = field.is_repeated()    ? reflection->FieldSize(message, &field) == 0
                             : field.has_presence() ? !reflection->HasField(message, &field)
                                                    : false;
         if (!absent) addMember(result, field.name(), whole(message, field), allocator_);
      }
      return result;
   }

 private:
   Json whole(Message const& message, FieldDescriptor const& field) {
      if (field.is_map()) return map(message, field);
      if (!field.is_repeated()) return one(message, field, -1);
      Json list(rapidjson::kArrayType);
      for (int i = 0; i < message.GetReflection()->FieldSize(message, &field); ++i) {
         list.PushBack(one(message, field, i), allocator_);
      }
      return list;
   }

   Json map(Message const& message, FieldDescriptor const& field) {
      auto const& entryType = *field.message_type();
      std::vector<std::pair<std::uint64_t, Message const*>> entries;  // the message itself keeps no order
      for (int i = 0; i < message.GetReflection()->FieldSize(message, &field); ++i) {
         auto const& entry = message.GetReflection()->GetRepeatedMessage(message, &field, i);
         entries.emplace_back(one(entry, *entryType.map_key(), -1).GetUint64(), &entry);
      }
      std::ranges::sort(entries);
      Json result(rapidjson::kObjectType);
      for (auto const& [key, entry] : entries) {
         addMember(result, std::to_string(key), one(*entry, *entryType.map_value(), -1), allocator_);
      }
      return result;
   }

   Json one(Message const& message, FieldDescriptor const& field, int index) {
      auto const* const reflection = message.GetReflection();
      auto const get = [&](auto single, auto element) -> decltype(auto) {
         return index < 0 ? (reflection->*single)(message, &field) : (reflection->*element)(message, &field, index);
      };
      using google::protobuf::Reflection;
      switch (field.cpp_type()) {
         case FieldDescriptor::CPPTYPE_MESSAGE:
            return nested(index < 0 ? reflection->GetMessage(message, &field)
                                    : reflection->GetRepeatedMessage(message, &field, index));
         case FieldDescriptor::CPPTYPE_STRING: {
            auto const text = get(&Reflection::GetString, &Reflection::GetRepeatedString);
            return jsonText(field.type() == FieldDescriptor::TYPE_BYTES ? bytesText(text) : text, allocator_);
         }
         case FieldDescriptor::CPPTYPE_ENUM: {
            auto const number = get(&Reflection::GetEnumValue, &Reflection::GetRepeatedEnumValue);
            auto const* const value = field.enum_type()->FindValueByNumber(number);
            return value == nullptr ? Json(number) : jsonText(value->name(), allocator_);
         }
         case FieldDescriptor::CPPTYPE_BOOL: return Json(get(&Reflection::GetBool, &Reflection::GetRepeatedBool));
         case FieldDescriptor::CPPTYPE_DOUBLE: return Json(get(&Reflection::GetDouble, &Reflection::GetRepeatedDouble));
         case FieldDescriptor::CPPTYPE_FLOAT: return Json(get(&Reflection::GetFloat, &Reflection::GetRepeatedFloat));
         case FieldDescriptor::CPPTYPE_UINT32: return Json(get(&Reflection::GetUInt32, &Reflection::GetRepeatedUInt32));
         case FieldDescriptor::CPPTYPE_UINT64: return Json(get(&Reflection::GetUInt64, &Reflection::GetRepeatedUInt64));
         case FieldDescriptor::CPPTYPE_INT32: return Json(get(&Reflection::GetInt32, &Reflection::GetRepeatedInt32));
         case FieldDescriptor::CPPTYPE_INT64: return Json(get(&Reflection::GetInt64, &Reflection::GetRepeatedInt64));
      }
      return {};
   }

   Json nested(Message const& message) {
      auto const& type = *message.GetDescriptor();
      auto const form = textFormOf(type);
      if (form == TextForm::value) return one(message, *type.field(0), -1);
      if (form == TextForm::prefix) {
         auto const address = message.GetReflection()->GetString(message, type.field(0));
         auto const length = message.GetReflection()->GetUInt32(message, type.field(1));
         // Without an address there is nothing to write before the slash.
         if (!address.empty()) return jsonText(fmt::format("{}/{}", bytesText(address), length), allocator_);
      }
      return object(message);
   }

   static std::string bytesText(std::string const& bytes) {
      switch (bytes.size()) {
         case 0: return {};
         case 4:
         case 16: return addressText(bytes);
         case 6: return macText(bytes);
         default:  // no agent sends such; shown as it is, and not taken back
            return fmt::format("0x{:02x}", fmt::join(std::vector<unsigned char>(bytes.begin(), bytes.end()), ""));
      }
   }

   JsonAllocator& allocator_;
};

}  // namespace

Json writeMessage(Message const& message, JsonAllocator& allocator) { return Writer(allocator).object(message); }

}  // namespace VelmSdkRpc::ctl
