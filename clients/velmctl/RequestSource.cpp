#include "clients/velmctl/RequestSource.h"

#include <fmt/format.h>

#include <string_view>

#include "clients/velmctl/Connection.h"
#include "clients/velmctl/Errors.h"
#include "clients/velmctl/File.h"
#include "clients/velmctl/Json.h"
#include "clients/velmctl/LineReader.h"
#include "clients/velmctl/MessageReader.h"

// A single word is JSON or FIELD=VALUE. It is taken for JSON if it has no `=`, or if what JSON begins with stands
// first; so a text that is neither is refused as broken JSON, with a column.
namespace VelmSdkRpc::ctl {
namespace {

/// Reads with `read`, and says where the fault was that it finds.
template <class Read>
void readAt(std::string const& place, Read read) {
   try {
      read();
   } catch (UsageError const& e) {
      throw UsageError(fmt::format("{}: {}", place, e.what()));
   }
}

bool isBlank(std::string_view text) { return text.find_first_not_of(" \t\r\n") == std::string_view::npos; }

}  // namespace

bool isOneRequest(std::vector<std::string> const& words) {
   return words.size() != 1 || !(words[0] == "-" || words[0].starts_with('@'));
}

RequestPtr requestOf(std::vector<std::string> const& words, Descriptor const& type) {
   auto request = newMessage(type);
   // Whatever is neither is called broken JSON.
   bool const isJson = words.size() == 1 && (words[0].find('=') == std::string::npos ||
                                             words[0].find_first_of("{[\"") == words[0].find_first_not_of(" \t\n"));
   if (isJson) {
      readMessage(words[0], *request);
   } else {
      for (auto const& word : words) readArgument(word, *request);
   }
   return request;
}

std::vector<RequestPtr> requestsOfFile(std::string const& path, Descriptor const& type) {
   auto const content = contentOf(path);
   std::vector<RequestPtr> requests;
   std::vector<JsonDocument> documents;
   readAt(path, [&] { documents = parseAllJson(content); });
   for (auto const& document : documents) {
      auto const place = fmt::format("{}, request {}", path, requests.size() + 1);
      readAt(place, [&] { readMessage(document, *requests.emplace_back(newMessage(type))); });
   }
   return requests;
}

void eachRequestOfInput(Descriptor const& type, Interrupt const& interrupt,
                        std::function<void(google::protobuf::Message const&)> const& onRequest) {
   LineReader lines(interrupt);
   for (std::string line; lines.next(line);) {
      if (isBlank(line)) continue;
      auto const request = newMessage(type);
      readAt(fmt::format("standard input, line {}", lines.number()), [&] { readMessage(line, *request); });
      onRequest(*request);
   }
}

}  // namespace VelmSdkRpc::ctl
