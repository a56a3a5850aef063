#include "clients/velmctl/Json.h"

#include <fmt/format.h>
#include <rapidjson/encodedstream.h>
#include <rapidjson/error/en.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <algorithm>

#include "clients/velmctl/Errors.h"

namespace VelmSdkRpc::ctl {
namespace {

constexpr unsigned parseFlags = rapidjson::kParseValidateEncodingFlag | rapidjson::kParseFullPrecisionFlag |
                                rapidjson::kParseIterativeFlag;  // however deep, no stack runs out

[[noreturn]] void refuse(JsonDocument const& document, std::string_view text, std::size_t offset) {
   auto const before = text.substr(0, offset);
   auto const line = std::ranges::count(before, '\n') + 1;
   auto const column = before.size() - (before.rfind('\n') + 1) + 1;
   bool const hasLines = text.find('\n') != std::string_view::npos;
   auto const place = hasLines ? fmt::format("line {}, column {}", line, column) : fmt::format("column {}", column);
   throw UsageError(fmt::format("no JSON at {}: {}", place, rapidjson::GetParseError_En(document.GetParseError())));
}

template <class Writer>
std::string written(Writer&& writer, rapidjson::StringBuffer const& buffer, Json const& value) {
   writer.SetMaxDecimalPlaces(9);
   value.Accept(writer);
   return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace

JsonDocument parseJson(std::string_view text) {
   JsonDocument document;
   document.Parse<parseFlags>(text.data(), text.size());
   if (document.HasParseError()) refuse(document, text, document.GetErrorOffset());
   return document;
}

std::vector<JsonDocument> parseAllJson(std::string_view text) {
   std::vector<JsonDocument> documents;
   rapidjson::MemoryStream bytes(text.data(), text.size());
   rapidjson::EncodedInputStream<rapidjson::UTF8<>, rapidjson::MemoryStream> stream(bytes);
   for (;;) {
      auto& document = documents.emplace_back();
      document.ParseStream<parseFlags | rapidjson::kParseStopWhenDoneFlag>(stream);
      if (!document.HasParseError()) continue;
      if (document.GetParseError() != rapidjson::kParseErrorDocumentEmpty) refuse(document, text, stream.Tell());
      documents.pop_back();  // there was nothing more
      return documents;
   }
}

std::string compactText(Json const& value) {
   rapidjson::StringBuffer buffer;
   return written(rapidjson::Writer(buffer), buffer, value);
}

std::string indentedText(Json const& value) {
   rapidjson::StringBuffer buffer;
   rapidjson::PrettyWriter writer(buffer);
   writer.SetIndent(' ', 2);
   return written(writer, buffer, value);
}

}  // namespace VelmSdkRpc::ctl
