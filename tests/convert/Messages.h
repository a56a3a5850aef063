#pragma once

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>

#include <ranges>
#include <string>
#include <typeinfo>
#include <vector>

#include "platform/velm/errors.h"

namespace VelmSdkRpc::types {

/// The text of the Error that `fn` throws; says so if it throws none, or one of another class, be it a derived one.
template <class Error = velm::invalid_argument_error, class Fn>
std::string errorText(Fn fn) {
   try {
      fn();
   } catch (velm::error const& e) {
      return typeid(e) == typeid(Error) ? e.what() : std::string("another class: ") + e.what();
   }
   return "no error";
}

/// The message of a text form.
template <class Message>
Message message(std::string const& fields) {
   Message message;
   EXPECT_TRUE(google::protobuf::TextFormat::ParseFromString(fields, &message)) << fields;
   return message;
}

struct Fault {
   std::string fields;
   std::string error;  // the part that tells it from the others
};

/// Each fault is the one told of a message that has it and all that follow it. Needs the message's `convert` in sight.
template <class Message>
void expectOrder(std::vector<Fault> const& faults) {
   Message message;
   for (auto const& [fields, error] : faults | std::views::reverse) {
      ASSERT_TRUE(google::protobuf::TextFormat::MergeFromString(fields, &message)) << fields;
      EXPECT_THAT(errorText([&] { convert(message); }), testing::HasSubstr(error)) << message.ShortDebugString();
   }
}

}  // namespace VelmSdkRpc::types
