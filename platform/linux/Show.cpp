#include "platform/linux/Show.h"

#include <array>
#include <string_view>

#include "platform/linux/Ports.h"
#include "platform/linux/Program.h"
#include "platform/linux/forwarding/Groups.h"
#include "platform/linux/forwarding/Labels.h"
#include "platform/linux/forwarding/Vrfs.h"
#include "platform/linux/trie/Memory.h"
#include "platform/switch/Json.h"

namespace velm::machine {
namespace {

using embedded::JsonWriter;
using embedded::writeJson;
using embedded::writeKey;

// In the order of drop_reason.
constexpr std::array<std::string_view, DROP_REASONS> reasonNames{
   "short_frame",    "bad_header", "bad_checksum", "no_route", "by_route",    "no_group",
   "inactive_group", "unresolved", "ttl_expired",  "too_big",  "no_headroom", "unknown_label"};

template <class T>
void write(JsonWriter& json, std::string_view key, T const& value) {
   writeKey(json, key);
   writeJson(json, value);
}

void writePorts(JsonWriter& json, Ports const& ports) {
   writeKey(json, "interfaces");
   json.StartObject();
   for (auto const& [intf, road] : ports.roads()) {
      writeKey(json, intf.to_string());
      json.StartObject();
      write(json, "device", std::string_view(road.device));
      auto const mode = !road.mode ? "none" : *road.mode == Attachment::Mode::native ? "native" : "generic";
      write(json, "mode", std::string_view(mode));
      if (!road.mode) write(json, "reason", std::string_view(road.why));
      json.EndObject();
   }
   json.EndObject();
}

void writeTables(JsonWriter& json, Sights const& sights) {
   auto const fill = sights.memory.fill();
   writeKey(json, "tables");
   json.StartObject();
   write(json, "route_bytes", fill.size);
   write(json, "route_bytes_used", fill.used);
   write(json, "route_bytes_in_grace", fill.inGrace);
   write(json, "vrfs", sights.vrfs.size());
   write(json, "labels", sights.labels.size());
   write(json, "groups", sights.groups.size());
   write(json, "groups_max", sights.program.arrays().groups.size() - 1);
   write(json, "refused_routes", sights.refusedRoutes);
   write(json, "refused_labels", sights.refusedLabels);
   write(json, "refused_groups", sights.refusedGroups);
   json.EndObject();
}

void writeDrops(JsonWriter& json, Program const& program) {
   std::array<std::uint64_t, DROP_REASONS> dropped{};
   auto const& slices = program.arrays().drops;
   for (std::size_t i = 0; i < slices.size(); ++i) {
      if (auto const reason = i % MAX_DROP_REASONS; reason < dropped.size()) dropped[reason] += slices[i];
   }
   writeKey(json, "drops");
   json.StartObject();
   for (std::size_t reason = 0; reason < dropped.size(); ++reason) write(json, reasonNames[reason], dropped[reason]);
   json.EndObject();
}

}  // namespace

std::string show(Sights const& sights) {
   rapidjson::StringBuffer buffer;
   JsonWriter json(buffer);
   json.StartObject();
   write(json, "dataplane", std::string_view("linux"));
   if (sights.ports != nullptr) writePorts(json, *sights.ports);
   writeTables(json, sights);
   writeDrops(json, sights.program);
   json.EndObject();
   return {buffer.GetString(), buffer.GetSize()};
}

}  // namespace velm::machine
