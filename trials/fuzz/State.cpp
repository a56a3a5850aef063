#include "trials/fuzz/State.h"

#include <array>
#include <filesystem>
#include <lmdb.h>
#include <optional>
#include <set>

#include "trials/fuzz/Device.h"
#include "trials/support/AnyCommand.h"

namespace VelmSdkRpc::fuzz {
namespace {

namespace fs = std::filesystem;
using velm::embedded::StateRefused;
using velm::embedded::Switch;

constexpr std::size_t fileSize = 1U << 18U;
constexpr std::size_t tableCount = 18;

void must(int result) { expect(result == MDB_SUCCESS, "the database: {}", mdb_strerror(result)); }
MDB_val bytes(std::string const& text) { return {text.size(), const_cast<char*>(text.data())}; }
std::string text(MDB_val const& value) { return {static_cast<char const*>(value.mv_data), value.mv_size}; }

/// One transaction on the file.
class File {
 public:
   File(StateFolder const& folder, unsigned flags) {
      must(mdb_env_create(&env_));
      must(mdb_env_set_mapsize(env_, fileSize));
      must(mdb_env_open(env_, folder.file().c_str(), MDB_NOSUBDIR | MDB_NOLOCK | MDB_NOSYNC | flags, 0600));
      must(mdb_txn_begin(env_, nullptr, flags & MDB_RDONLY, &txn_));
      must(mdb_dbi_open(txn_, nullptr, 0, &tree_));
   }
   ~File() {
      mdb_txn_commit(txn_);
      mdb_env_close(env_);
   }
   File(File const&) = delete;
   File& operator=(File const&) = delete;

   void put(StoredRow const& row) {
      auto key = bytes(row.key);
      auto value = bytes(row.value);
      must(mdb_put(txn_, tree_, &key, &value, 0));
   }
   std::vector<StoredRow> rows() {
      std::vector<StoredRow> rows;
      MDB_cursor* cursor = nullptr;
      must(mdb_cursor_open(txn_, tree_, &cursor));
      MDB_val key{};
      MDB_val value{};
      while (mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == MDB_SUCCESS) rows.push_back({text(key), text(value)});
      mdb_cursor_close(cursor);
      return rows;
   }

 private:
   MDB_env* env_ = nullptr;
   MDB_txn* txn_ = nullptr;
   MDB_dbi tree_ = 0;
};

velm::ip_route_via_t ipVia(velm::ip_route_key_t const& key) {
   velm::ip_route_via_t via(key);
   via.hop_is(velm::ip_addr_t("192.0.2.1"));
   via.intf_is(velm::intf_id_t("Ethernet1"));
   return via;
}

void setRoutes(Switch& device) {
   using velm::mpls_label_t;
   velm::ip_route_key_t const key(velm::ip_prefix_t("10.0.0.0/8"));
   velm::ip_route_key_t const toGroup(velm::ip_prefix_t("2001:db8::/32"));
   auto groupVia = velm::ip_route_via_t(toGroup);
   groupVia.nexthop_group_is("g");
   for (std::string const vrf : {"", "red"}) {
      device.ipRoutes.ip_route_set(velm::ip_route_t(key), vrf);
      device.ipRoutes.ip_route_via_set(ipVia(key), vrf);
   }
   device.ipRoutes.ip_route_set(velm::ip_route_t(toGroup), velm::ip_route_action_t::nexthop_group);
   device.ipRoutes.ip_route_via_set(groupVia);
   for (auto const& labels : {velm::mpls_route_key_t(mpls_label_t(16), 0),
                              velm::mpls_route_key_t({mpls_label_t(17), mpls_label_t(18)}, 1)}) {
      device.mplsRoutes.mpls_route_set(velm::mpls_route_t(labels));
      device.mplsRoutes.mpls_route_via_set(velm::mpls_route_via_t(labels, velm::mpls_action_t::pop));
   }
   device.mplsVrfLabels.mpls_vrf_label_set({mpls_label_t(19), "red"});
   velm::nexthop_group_t group("g", velm::nexthop_group_encap_t::mpls);
   velm::nexthop_group_entry_t entry;
   entry.nexthop_is(velm::ip_addr_t("192.0.2.1"));
   entry.intf_is(velm::intf_id_t("Ethernet1"));
   group.nexthop_set(0, entry);
   device.nexthopGroups.nexthop_group_set(group);
   velm::nexthop_group_tunnel_t tunnel;
   tunnel.tunnel_endpoint_is(velm::ip_prefix_t("192.0.2.9/32"));
   tunnel.nhg_name_is("g");
   device.nexthopGroupTunnels.nexthop_group_tunnel_set(tunnel);
}

void setOthers(Switch& device) {
   velm::intf_id_t const port("Ethernet2");
   device.ipIntfs.ip_addr_merge_mode_is(port, true);
   velm::macsec_profile_t profile;
   profile.name_is("p");
   device.macsec.profile_set(profile);
   device.macsec.intf_profile_is(port, "p");
   device.bfdSessions.sbfd_echo_session_set({velm::ip_addr_t("192.0.2.1"), port, {velm::mpls_label_t(16)}, 1, 2});
   device.agent.status_set(std::string(600, 'k'), "under its hash");
   auto const commands = device.vapi.run_config_cmds(
      {"interface Loopback1", "description text", "ip address 10.0.0.1/24", "interface Ethernet1",
       "channel-group 1 mode active", "agent option a b", "simulate ip interface Ethernet2 vlan 7",
       "simulate policy-map m feature 1 rule 1 class-map c nexthop-group g", "simulate class-map c rule 1 acl a type 1",
       "simulate acl a type 1 rule 1 nexthop-group g priority 1 mask 63"});
   expect(commands.success(), "{}", commands.error_message());
   device.policyMaps.policy_map_apply({"m", velm::policy_feature_t::pbr}, port, velm::acl_direction_t::in, true);
}

/// The changes that a switch in use makes.
constexpr std::array changes{
   +[](Device& device, Choices&) { setRoutes(device); },
   +[](Device& device, Choices&) { setOthers(device); },
   +[](Device& device, Choices&) {
      auto const each = [](auto&... mgrs) { (mgrs.resync_init(), ...), (mgrs.resync_complete(), ...); };
      each(device.ipRoutes, device.mplsRoutes, device.mplsVrfLabels, device.nexthopGroups, device.nexthopGroupTunnels,
           device.policyMaps);
   },
   +[](Device& device, Choices& choices) {
      AnyMessage any(choices.draw());
      // Not everything that the world outside does is kept.
      std::vector<std::string> commands{trials::anyConfigCommand(any), trials::anyConfigCommand(any)};
      std::erase_if(commands, [](std::string const& command) { return command.starts_with("simulate"); });
      device.configure(commands);
   },
};

// The show commands' answers before the changes of one run and after them. A switch that was damaged may refuse some.
struct Shown {
   std::string before;
   std::string after;
};
std::optional<Shown> run(StateFolder const& folder, Choices* choices) {
   Device device;
   try {
      device.stateIs(folder.path());
   } catch (StateRefused const&) {
      return std::nullopt;
   }
   auto before = device.show(storedTables());
   if (choices == nullptr) return Shown{before, before};
   for (auto left = choices->upTo(4); left > 0; --left) {
      try {
         choices->oneOf(changes)(device, *choices);
      } catch (velm::error const&) {
      }
   }
   auto after = device.show(storedTables());
   device.turn();
   device.show(storedTables());
   return Shown{std::move(before), std::move(after)};
}

}  // namespace

StateFolder::StateFolder() {
   std::string pattern = (fs::exists("/dev/shm") ? "/dev/shm" : fs::temp_directory_path().string()) + "/fuzz-XXXXXX";
   expect(mkdtemp(pattern.data()) != nullptr, "no folder {}", pattern);
   top_ = pattern;
}

StateFolder::~StateFolder() { fs::remove_all(top_); }

void StateFolder::clear() const {
   fs::remove_all(path());
   fs::create_directory(path());
}

std::vector<StoredRow> const& someRows() {
   static std::vector<StoredRow> const rows = [] {
      StateFolder const folder;
      {
         Device device;
         device.stateIs(folder.path());
         setRoutes(device);
         setOthers(device);
      }
      auto rows = File(folder, MDB_RDONLY).rows();
      // Front-panel ports are all alike.
      std::erase_if(rows, [](StoredRow const& row) { return row.key[0] == 1 && row.key[5] > 4; });
      std::set<char> tables;
      for (auto const& row : rows) tables.insert(row.key.front());
      expect(tables.size() == 1 + tableCount, "rows of {} tables", tables.size());
      return rows;
   }();
   return rows;
}

void write(StateFolder const& folder, std::vector<StoredRow> const& rows) {
   folder.clear();
   File file(folder, MDB_WRITEMAP);
   for (auto const& row : rows) file.put(row);
}

bool live(StateFolder const& folder, Choices& choices) {
   auto const first = run(folder, nullptr);
   if (!first) return false;
   auto const second = run(folder, &choices);
   expect(second && second->before == first->before, "a restart has changed\n{}\ninto\n{}", first->before,
          second ? second->before : "a refusal");
   auto const third = run(folder, nullptr);
   expect(third && third->before == second->after, "a restart has changed\n{}\ninto\n{}", second->after,
          third ? third->before : "a refusal");
   return true;
}

}  // namespace VelmSdkRpc::fuzz
