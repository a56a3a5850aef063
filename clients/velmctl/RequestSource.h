#pragma once

#include <google/protobuf/message.h>

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "clients/velmctl/Catalogue.h"
#include "clients/velmctl/Interrupt.h"

/// The requests that a command line tells: one in JSON, or FIELD=VALUE for each field that is to be set, or "@FILE"
/// with one JSON document or many, or "-" for standard input with a document a line. Nothing at all is the empty
/// request.
namespace VelmSdkRpc::ctl {

using RequestPtr = std::unique_ptr<google::protobuf::Message>;

/// Whether the words are a request and not the name of some requests elsewhere.
bool isOneRequest(std::vector<std::string> const& words);

/// Throws UsageError, as the others do, with the place and with what was expected there.
RequestPtr requestOf(std::vector<std::string> const& words, Descriptor const& type);

/// All requests of a file have been read before this returns. Throws std::system_error for a file that cannot be read.
std::vector<RequestPtr> requestsOfFile(std::string const& path, Descriptor const& type);

/// Gives the requests of standard input as its lines come, until it ends. Throws Interrupted.
void eachRequestOfInput(Descriptor const& type, Interrupt const& interrupt,
                        std::function<void(google::protobuf::Message const&)> const& onRequest);

}  // namespace VelmSdkRpc::ctl
