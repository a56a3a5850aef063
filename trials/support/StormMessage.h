#pragma once

#include "tests/support/AnyMessage.h"

namespace VelmSdkRpc::trials {

/// Requests that meet each other: names, addresses and labels are of a few, mostly such as the switch takes. Mirrors
/// are also given values that the schema does not list; the native service, which such values would end, is not. Keys
/// with 77 or 2001:db9 at their head, labels from 1048551 and names that begin with "model" are nobody's here.
class StormMessage : public AnyMessage {
 public:
   using AnyMessage::AnyMessage;

 protected:
   std::string text(Field const& field) override;
   std::string bytes(Field const& field) override;
   std::uint64_t number(Field const& field) override;
   int enumNumber(Field const& field) override;
   std::uint32_t count(Field const& field) override;
   std::pair<std::string, std::uint32_t> prefix() override;

 private:
   std::string address();
};

}  // namespace VelmSdkRpc::trials
