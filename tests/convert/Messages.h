#pragma once

#include <gmock/gmock.h>
#include <google/protobuf/text_format.h>

#include <ranges>
#include <string>
#include <vector>

#include "tests/convert/ErrorText.h"

namespace VelmSdkRpc::types {

/// A message out of its text form.
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

/// Each fault is the one told of a message that has it and all behind it. Needs the message's `convert` in sight.
template <class Message>
void expectOrder(std::vector<Fault> const& faults) {
   Message message;
   for (auto const& [fields, error] : faults | std::views::reverse) {
      ASSERT_TRUE(google::protobuf::TextFormat::MergeFromString(fields, &message)) << fields;
      EXPECT_THAT(errorText<velm::invalid_argument_error>([&] { convert(message); }), testing::HasSubstr(error))
         << message.ShortDebugString();
   }
}

}  // namespace VelmSdkRpc::types
