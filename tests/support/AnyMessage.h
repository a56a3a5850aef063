#pragma once

#include <google/protobuf/message.h>

#include <random>

namespace VelmSdkRpc {

/// Fills messages of any type at random with values that their schema allows: listed enum values, addresses and MAC
/// addresses of a right size, prefixes within their family. One seed, one sequence.
class AnyMessage {
 public:
   explicit AnyMessage(std::uint32_t seed) : random_(seed) {}

   /// At most so many messages deep.
   void fill(google::protobuf::Message& message, int depth = 4);

   std::uint32_t upTo(std::uint32_t bound) { return random_() % bound; }

 private:
   void fillFields(google::protobuf::Message& message, int depth);
   void fillPrefix(google::protobuf::Message& message);
   void fillOne(google::protobuf::Message& message, google::protobuf::FieldDescriptor const& field, int depth);
   std::string text();
   std::string bytes(google::protobuf::FieldDescriptor const& field);
   std::string randomBytes(std::size_t size);
   std::uint64_t number();

   std::mt19937 random_;
};

}  // namespace VelmSdkRpc
