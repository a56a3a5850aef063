#pragma once

#include <google/protobuf/message.h>

#include <random>
#include <string>
#include <utility>

namespace VelmSdkRpc {

/// Fills messages of any type at random with values that their schema allows: listed enum values, addresses and MAC
/// addresses of a right size, prefixes within their family. One seed, one sequence. Who knows more of the fields draws
/// their values from pools of its own.
class AnyMessage {
 public:
   explicit AnyMessage(std::uint32_t seed) : random_(seed) {}
   virtual ~AnyMessage() = default;
   AnyMessage(AnyMessage const&) = delete;
   AnyMessage& operator=(AnyMessage const&) = delete;

   /// At most so many messages deep.
   void fill(google::protobuf::Message& message, int depth = 4);

   std::uint32_t upTo(std::uint32_t bound) { return random_() % bound; }
   bool oneIn(std::uint32_t chances) { return upTo(chances) == 0; }

 protected:
   using Field = google::protobuf::FieldDescriptor;

   /// A value of the field; a number is cut to the field's type.
   virtual std::string text(Field const& field);
   virtual std::string bytes(Field const& field);
   virtual std::uint64_t number(Field const& field);
   virtual int enumNumber(Field const& field);
   /// How many elements a repeated field is given.
   virtual std::uint32_t count(Field const& field);
   /// An address and its length, in whatever message such a pair is.
   virtual std::pair<std::string, std::uint32_t> prefix();

   std::string randomBytes(std::size_t size);

 private:
   void fillFields(google::protobuf::Message& message, int depth);
   void fillPrefix(google::protobuf::Message& message);
   void fillOne(google::protobuf::Message& message, Field const& field, int depth);

   std::mt19937 random_;
};

}  // namespace VelmSdkRpc
