#pragma once

#include <fmt/format.h>

#include <cstdint>
#include <optional>
#include <source_location>
#include <string>
#include <string_view>

#include "convert/AddressFamily.h"
#include "convert/Format.h"
#include "convert/Utils.h"
#include "platform/velm/errors.h"
#include "proto/velmsdk.pb.h"
#include "rpc/Announced.h"
#include "rpc/ProcessTrace.h"

/// The work that all programmers of the native service share: the check for rpc_server_init, the rendering of failures,
/// the loop of a bulk request. A programmer's own work is a function that returns a status and may leave an error text.
///
/// A failure is the client's news and not the call's: it goes into rpc_status_msg as a status and a text, and is traced
/// at level 0 in the same words. Only a velm::error is a failure. Anything else that a programmer throws is a fault of
/// this program and ends it.
namespace VelmSdkRpc {

class ClientInit;

/// Whether rpc_server_init has succeeded. Out of line, so that programmers need ClientInit's declaration alone.
bool isInitialized(ClientInit const& clientInit);

/// Traces a failure's text at level 0. The line names the place of the call, `where`, as readers of the trace look for
/// the programmer's function and not for this one.
void traceError(std::string_view className, std::string_view text,
                std::source_location where = std::source_location::current());

/// Refuses a request: traces the text, leaves it in `error` and returns STATUS_ERROR.
std::uint32_t refuse(std::string_view className, std::string& error, std::string text,
                     std::source_location where = std::source_location::current());

/// The text for a velm::error that ended a request; it quotes the request.
template <class Request>
std::string exceptionText(Request const& request, velm::error const& e) {
   return fmt::format("Error: request {} exception {}", request, e.what());
}

/// Answers one request: refuses it before rpc_server_init, else does work(error), which returns the status and may
/// leave a text in `error`, and reports a velm::error that it throws. `className` labels the trace. Takes no lock: the
/// work takes the SDK lock for as long as it must.
template <class Request, class Work>
void answer(ClientInit const& clientInit, std::string_view className, Request const& request,
            pb::rpc_status_msg& status, Work&& work, std::source_location where = std::source_location::current()) {
   std::string error;
   std::uint32_t result = pb::rpc_status_msg::STATUS_NOT_INITIALIZED;
   if (isInitialized(clientInit)) {
      try {
         result = work(error);
      } catch (velm::error const& e) {
         result = refuse(className, error, exceptionText(request, e), where);
      }
   } else {
      refuse(className, error, fmt::format("Error: no prior rpc_server_init call, request {}", request), where);
   }
   status.set_status(static_cast<pb::rpc_status_msg_rpc_status_value_enum>(result));
   if (!error.empty()) status.set_debug_string(std::move(error));
}

/// Answers each element of a bulk request in order with processOne(element, status); none stops the others.
template <class Elements, class ProcessOne>
void answerEach(Elements const& elements, pb::rpc_status_bulk_msg& statuses, ProcessOne&& processOne) {
   statuses.mutable_status()->Reserve(elements.size());
   for (auto const& element : elements) processOne(element, *statuses.add_status());
}
/// Answers them with processOne(element, key, status), where the key is what keyOf(element) gave, or null where that
/// was nothing. hint(keys) tells the switch of the keys of some elements before these are answered.
template <class Elements, class KeyOf, class Hint, class ProcessOne>
void answerEach(Elements const& elements, pb::rpc_status_bulk_msg& statuses, KeyOf&& keyOf, Hint&& hint,
                ProcessOne&& processOne) {
   statuses.mutable_status()->Reserve(elements.size());
   forEachAnnounced(elements, keyOf, hint,
                    [&](auto const& element, auto const* key) { processOne(element, key, *statuses.add_status()); });
}

/// The key that a request's prefix makes; nothing if its address is of a length that no address has.
template <class Key, class Request>
std::optional<Key> keyOfPrefix(Request const& request) {
   if (!types::addressOf(request.prefix().addr())) return std::nullopt;
   return Key(ipPrefixToPrefix(request.prefix()));
}
/// The key once more where it is known already, as that of a bulk's element is; else that of the request's prefix,
/// where an address of a bad length ends the process.
template <class Key, class Request>
Key keyInTurn(Request const& request, Key const* known) {
   return known != nullptr ? *known : Key(ipPrefixToPrefix(request.prefix()));
}

}  // namespace VelmSdkRpc
