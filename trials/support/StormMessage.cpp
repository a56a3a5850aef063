#include "trials/support/StormMessage.h"

#include <array>
#include <string_view>

#include "trials/support/AnyCommand.h"

namespace VelmSdkRpc::trials {
namespace {

using Field = google::protobuf::FieldDescriptor;

bool isNative(Field const& field) { return field.file()->package() == "VelmSdkRpc.pb"; }

bool has(Field const& field, std::string_view part) { return field.full_name().find(part) != std::string::npos; }

std::string kernelName(AnyMessage& any) {
   static constexpr std::array<std::string_view, 5> names{"eth1", "po7", "lo0", "", "nothing"};
   return std::string(names[any.upTo(names.size())]);
}

std::string keyMaterial(AnyMessage& any) { return any.oneIn(10) ? "no key" : any.oneIn(2) ? "0123" : "ab"; }

/// The text of a field is drawn by the first row whose part is in the field's full name.
struct TextRow {
   std::string_view part;
   std::string (*draw)(AnyMessage&);
};
constexpr std::array<TextRow, 15> textRows{{{"IntfId.name", anyIntf},
                                            {"interface", anyIntf},
                                            {"kernel_name", kernelName},
                                            {"RunShowCmdRequest.command", anyShowCommand},
                                            {"RunConfigCmdsRequest.commands", anyConfigCommand},
                                            {"vrf", anyVrf},
                                            {".cak", keyMaterial},
                                            {".ckn", keyMaterial},
                                            {"policy_map_name", anyName},
                                            {"group", anyGroup},
                                            {"Group", anyGroup},
                                            {"CounterRequest.name", anyGroup},
                                            {"Profile", anyName},
                                            {"Policy", anyName},
                                            {"", anyName}}};

/// A number of the field is mostly below the bound.
struct NumberRow {
   std::string_view part;
   std::uint32_t from;
   std::uint32_t bound;
};
constexpr std::array<NumberRow, 16> numberRows{{{"replicate_count", 0, 4},
                                                {"label", 16, 8},
                                                {"dscp", 0, 64},
                                                {"exp", 0, 8},
                                                {"detection_multiplier", 0, 4},
                                                {"min_tx", 0, 400},
                                                {"preference", 1, 3},
                                                {"metric", 0, 3},
                                                {"tag", 5, 3},
                                                {"vlan", 0, 4096},
                                                {"priority", 0, 256},
                                                {"rekey_period", 0, 60},
                                                {"community", 0, 9},
                                                {"port", 0, 65536},
                                                {"min_links", 0, 17},
                                                {"", 0, 5}}};

constexpr std::uint32_t firstReservedLabel = 1048551;
constexpr std::uint32_t highestLabel = 1048575;

}  // namespace

std::string StormMessage::text(Field const& field) {
   for (auto const& [part, draw] : textRows) {
      if (has(field, part)) return draw(*this);
   }
   return {};
}

std::string StormMessage::address() {
   using namespace std::string_view_literals;
   static constexpr std::array addresses{""sv,
                                         "\x0a\0\0\x01"sv,
                                         "\x0a\0\0\x02"sv,
                                         "\xc0\0\x02\x01"sv,
                                         "\0\0\0\0"sv,
                                         "\x20\x01\x0d\xb8\0\0\0\0\0\0\0\0\0\0\0\x01"sv,
                                         "\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0\0"sv};
   if (!oneIn(20)) return std::string(addresses[upTo(addresses.size())]);
   auto any = randomBytes(oneIn(2) ? 4 : 16);
   if (any[0] == 77) any[0] = 78;
   return any;
}

std::string StormMessage::bytes(Field const& field) {
   if (!isNative(field) && oneIn(30)) return randomBytes(upTo(20));
   if (field.name().ends_with("mac")) return oneIn(4) ? std::string() : randomBytes(6);
   return address();
}

std::pair<std::string, std::uint32_t> StormMessage::prefix() {
   auto bytes = address();
   auto const bits = static_cast<std::uint32_t>(bytes.size()) * 8;
   std::array<std::uint32_t, 4> const lengths{bits, bits / 2, bits / 4, upTo(bits + 1)};
   return {std::move(bytes), oneIn(40) ? bits + upTo(300) : lengths[upTo(4)]};
}

std::uint64_t StormMessage::number(Field const& field) {
   for (auto const& [part, from, bound] : numberRows) {
      if (!has(field, part)) continue;
      // Each repetition is an entry that the agent makes: a huge number is a long wait and no more.
      if (part == "replicate_count") return oneIn(2000) ? 65536 + upTo(10) : upTo(bound);
      auto const any = oneIn(16) ? AnyMessage::number(field) : from + upTo(bound);
      return any >= firstReservedLabel && any <= highestLabel ? from : any;
   }
   return 0;
}

int StormMessage::enumNumber(Field const& field) {
   if (isNative(field) || !oneIn(30)) return AnyMessage::enumNumber(field);
   return static_cast<int>(AnyMessage::number(field));
}

std::uint32_t StormMessage::count(Field const& field) {
   bool const isBulk = field.containing_type()->name().find("ulk") != std::string::npos;
   return isBulk && oneIn(50) ? upTo(100) : upTo(isBulk ? 6 : 4);
}

}  // namespace VelmSdkRpc::trials
