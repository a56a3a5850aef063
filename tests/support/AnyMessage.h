#pragma once

#include <google/protobuf/message.h>

#include <cstdint>
#include <functional>
#include <string>
#include <utility>

namespace VelmSdkRpc {

/// Fills messages of any type at random with values that their schema allows: listed enum values, addresses and MAC
/// addresses of a right size, prefixes within their family. Who knows more of the fields draws their values from pools
/// of its own.
class AnyMessage {
 public:
   /// Where the chances come from: a number below the bound, which is 1 at least.
   using Draw = std::function<std::uint32_t(std::uint32_t bound)>;

   /// One seed, one sequence.
   explicit AnyMessage(std::uint32_t seed);
   explicit AnyMessage(Draw draw) : draw_(std::move(draw)) {}
   virtual ~AnyMessage() = default;
   AnyMessage(AnyMessage const&) = delete;
   AnyMessage& operator=(AnyMessage const&) = delete;

   /// At most so many messages deep.
   void fill(google::protobuf::Message& message, int depth = 4);

   std::uint32_t upTo(std::uint32_t bound) { return draw_(bound); }
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

   Draw const draw_;
};

}  // namespace VelmSdkRpc
