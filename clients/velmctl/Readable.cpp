#include "clients/velmctl/Readable.h"

#include <fmt/format.h>

#include <algorithm>
#include <cctype>
#include <string_view>
#include <utility>

// Answers come in two kinds of JSON. Messages name fields, and lists by index (the map of a group's nexthops) have
// digits for names. The switch names things as well, `nexthop_groups` by their names for example; nothing in its JSON
// says which of the two a name is, so whoever asks has to know.

namespace VelmSdkRpc::ctl {
namespace {

bool isIndex(std::string_view name) {
   return std::ranges::all_of(name, [](unsigned char c) { return std::isdigit(c) != 0; });
}

bool isKeptByIndex(Json const& object) {
   auto const members = object.GetObject();
   return std::all_of(members.begin(), members.end(), [](auto const& member) { return isIndex(textOf(member.name)); });
}

std::string joined(std::vector<std::string> const& words, std::string_view separator) {
   std::string text;
   for (auto const& word : words) {
      if (!text.empty()) text += separator;
      text += word;
   }
   return text;
}

void collect(Json const& object, std::string const& prefix, Names names, Fields& fields) {
   for (auto const& member : object.GetObject()) {
      auto const name = prefix + std::string(textOf(member.name));
      bool const goesDeeper =
         member.value.IsObject() && !isKeptByIndex(member.value) && !isSection(member.value, names);
      if (goesDeeper) {
         collect(member.value, name + pathSeparator, names, fields);
      } else {
         fields.emplace_back(name, &member.value);
      }
   }
}

std::string readableList(Json const& list) {
   std::vector<std::string> words;
   bool plain = true;
   for (auto const& element : list.GetArray()) {
      plain = plain && !element.IsObject();
      words.push_back(readable(element));
   }
   return joined(words, plain ? "," : "; ");
}

std::string readableObject(Json const& object) {
   bool const byIndex = isKeptByIndex(object);
   std::vector<std::string> words;
   for (auto const& member : object.GetObject()) {
      if (isDefault(member.value) && !byIndex) continue;
      auto const value = readable(member.value);
      auto const name = textOf(member.name);
      if (byIndex) {
         words.push_back(fmt::format("{}: {}", name, value));
      } else {
         words.push_back(member.value.IsObject() ? fmt::format("{}=({})", name, value)
                                                 : fmt::format("{}={}", name, value));
      }
   }
   return joined(words, byIndex ? "; " : " ");
}

}  // namespace

bool isDefault(Json const& value) {
   switch (value.GetType()) {
      case rapidjson::kNullType:
      case rapidjson::kFalseType: return true;
      case rapidjson::kNumberType: return value.GetDouble() == 0;
      case rapidjson::kStringType: return value.GetStringLength() == 0;
      case rapidjson::kArrayType: return value.Empty();
      case rapidjson::kObjectType: {
         auto const members = value.GetObject();
         return std::all_of(members.begin(), members.end(), [](auto const& member) { return isDefault(member.value); });
      }
      default: return false;
   }
}

std::string readable(Json const& value) {
   if (value.IsString()) return std::string(textOf(value));
   if (value.IsArray()) return readableList(value);
   if (value.IsObject()) return readableObject(value);
   return compactText(value);
}

Fields fieldsOf(Json const& object, Names names) {
   Fields fields;
   collect(object, {}, names, fields);
   return fields;
}

std::vector<std::string> headingsOf(std::vector<Path> const& paths) {
   auto const lastName = [](Path const& path) { return path.substr(path.rfind(pathSeparator) + 1); };
   std::vector<std::string> headings;
   headings.reserve(paths.size());
   for (auto const& path : paths) {
      auto heading = lastName(path);
      if (std::ranges::count(paths, heading, lastName) > 1) {
         heading = path;
         std::ranges::replace(heading, pathSeparator, '.');
      }
      headings.push_back(std::move(heading));
   }
   return headings;
}

bool isCollection(Json const& value) {
   if (value.IsArray()) {
      auto const elements = value.GetArray();
      return std::all_of(elements.begin(), elements.end(), [](Json const& element) { return element.IsObject(); });
   }
   if (!value.IsObject()) return false;
   auto const members = value.GetObject();
   return std::all_of(members.begin(), members.end(), [](auto const& member) { return member.value.IsObject(); });
}

bool isSection(Json const& value, Names names) {
   if (!value.IsObject()) return isCollection(value);
   return names == Names::ofThings || (isKeptByIndex(value) && isCollection(value));
}

}  // namespace VelmSdkRpc::ctl
