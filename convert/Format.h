#pragma once

// Makes every message an argument of any format string, for traces and for errors that quote a request: a native
// message in the text form of Utils.h, any other as one line of protobuf's text format.

#include <fmt/format.h>
#include <google/protobuf/text_format.h>

#include <concepts>
#include <string>

#include "convert/Utils.h"

namespace VelmSdkRpc {

/// Prints messages of one type as one line. Thread-safe. Its making walks all message types below its own, so keep it.
///
/// Fields named "cak" hold the keys of Macsec: they print as *** at any depth, and fields that this build does not know
/// are left out, since they might hold such a key.
class LinePrinter {
 public:
   explicit LinePrinter(google::protobuf::Descriptor const* type);
   std::string line(google::protobuf::Message const& message) const;

 private:
   google::protobuf::TextFormat::Printer printer_;
};

}  // namespace VelmSdkRpc

template <std::derived_from<google::protobuf::Message> Message>
struct fmt::formatter<Message> : fmt::formatter<fmt::string_view> {
   template <class Context>
   auto format(Message const& message, Context& context) const {
      return fmt::formatter<fmt::string_view>::format(text(message), context);
   }

 private:
   static std::string text(Message const& message) {
      if constexpr (VelmSdkRpc::pb::Rendered<Message>) {
         return toString(message);
      } else {
         static VelmSdkRpc::LinePrinter const printer(Message::descriptor());
         return printer.line(message);
      }
   }
};
