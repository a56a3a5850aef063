#pragma once

#include <rapidjson/document.h>

#include <string>
#include <string_view>
#include <vector>

namespace VelmSdkRpc::ctl {

/// A JSON value of the process's own heap, which outlives the document that it was parsed with.
using Json = rapidjson::Value;
using JsonDocument = rapidjson::Document;
using JsonAllocator = JsonDocument::AllocatorType;

inline std::string_view textOf(Json const& value) { return {value.GetString(), value.GetStringLength()}; }

inline Json jsonText(std::string_view text, JsonAllocator& allocator) {
   return {text.data(), static_cast<rapidjson::SizeType>(text.size()), allocator};
}

inline void addMember(Json& object, std::string_view name, Json value, JsonAllocator& allocator) {
   object.AddMember(jsonText(name, allocator), value, allocator);
}
inline void addMember(Json& object, std::string_view name, std::string_view text, JsonAllocator& allocator) {
   addMember(object, name, jsonText(text, allocator), allocator);
}

/// Throws UsageError with line and column of what is wrong.
JsonDocument parseJson(std::string_view text);
/// Reads a text of many documents, one after the other. Throws UsageError with line and column of what is wrong.
std::vector<JsonDocument> parseAllJson(std::string_view text);

/// On one line, or on many and indented.
std::string compactText(Json const& value);
std::string indentedText(Json const& value);

}  // namespace VelmSdkRpc::ctl
