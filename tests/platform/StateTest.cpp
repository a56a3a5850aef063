#include <fmt/format.h>
#include <gmock/gmock.h>
#include <sys/resource.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>

#include "platform/switch/SimulatedDataplane.h"
#include "platform/switch/Switch.h"
#include "platform/velm/errors.h"

namespace velm::embedded {
namespace {

namespace fs = std::filesystem;
using ::testing::HasSubstr;
using ::testing::IsEmpty;
using ::testing::Pair;
using ::testing::UnorderedElementsAre;

using Texts = Table<std::string, std::string>;

std::map<std::string, std::string> rowsOf(Texts const& table) {
   std::map<std::string, std::string> rows;
   table.each([&](std::string const& key, std::string const& value) { rows[key] = value; });
   return rows;
}

// A table on a state folder, as one run of the switch sees it.
struct Boot {
   explicit Boot(std::string const& folder) : store(folder) {
      table.storeIs(store, StoredTable::agentOptions);
      other.storeIs(store, StoredTable::agentStatuses);
      store.completeIs();
   }
   Store store;
   Texts table;
   Texts other;
};

class StateTest : public ::testing::Test {
 protected:
   StateTest() { std::filesystem::create_directory(folder); }
   ~StateTest() override { fs::remove_all(top); }

   static std::string made() {
      std::string pattern = fs::temp_directory_path() / "state-XXXXXX";
      return mkdtemp(pattern.data());
   }
   std::string file() const { return folder + "/switch.mdb"; }
   std::string content() const {
      std::ifstream in(file(), std::ios::binary);
      return {std::istreambuf_iterator<char>(in), {}};
   }
   // The refusal's text; empty if the folder was taken.
   std::string refusal() const {
      try {
         Boot const run(folder);
         return {};
      } catch (StateRefused const& e) {
         return e.what();
      }
   }

   CallLedger ledger;
   Inside const inside{ledger};
   std::string const top = made();
   std::string const folder = top + "/state";
};

TEST_F(StateTest, WhatWasChangedComesBackAndNothingElse) {
   std::string const longKey(5000, 'k');
   std::string const longerKey = longKey + "k";
   {
      Boot run(folder);
      EXPECT_TRUE(run.store.fresh());
      run.table.set(inside, "a", "1");
      run.table.set(inside, "b", "2");
      run.table.set(inside, "b", "3");
      run.table.set(inside, "gone", "4");
      run.table.del(inside, "gone");
      run.table.set(inside, longKey, "long");
      run.table.set(inside, longerKey, std::string(100000, 'v'));
      run.table.set(inside, "", "");
      EXPECT_TRUE(run.table.amend(inside, "a", [](std::string& value) { value += "!"; }));
   }
   {
      Boot run(folder);
      EXPECT_FALSE(run.store.fresh());
      EXPECT_THAT(rowsOf(run.table),
                  UnorderedElementsAre(Pair("", ""), Pair("a", "1!"), Pair("b", "3"), Pair(longKey, "long"),
                                       Pair(longerKey, std::string(100000, 'v'))));
      EXPECT_THAT(rowsOf(run.other), IsEmpty());
      run.table.markAll(inside);
      run.table.set(inside, "a", "5");
      run.table.del(inside, longKey);
      run.table.purge(inside);
   }
   EXPECT_THAT(rowsOf(Boot(folder).table), UnorderedElementsAre(Pair("a", "5")));
   EXPECT_EQ(fs::status(file()).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(StateTest, ATransactionHappensWholeOrNotAtAll) {
   {
      Boot run(folder);
      run.table.set(inside, "old", "1");
      {
         Transaction givenUp(inside);
         run.table.set(givenUp, "never", "1");
         run.table.del(givenUp, "old");
      }
      Transaction transaction(inside);
      run.table.set(transaction, "new", "2");
      EXPECT_TRUE(run.table.del(transaction, "old"));
      EXPECT_FALSE(run.table.del(transaction, "absent"));
      run.other.update(transaction, "count", [](std::string& value) { value += "x"; });
      EXPECT_THAT(rowsOf(run.table), UnorderedElementsAre(Pair("old", "1")));  // reads as before
      transaction.commit();
      EXPECT_THAT(rowsOf(run.table), UnorderedElementsAre(Pair("new", "2")));
   }
   Boot run(folder);
   EXPECT_THAT(rowsOf(run.table), UnorderedElementsAre(Pair("new", "2")));
   EXPECT_THAT(rowsOf(run.other), UnorderedElementsAre(Pair("count", "x")));
}

TEST_F(StateTest, AFolderThatWasNeverCompleteIsFreshAgain) {
   {
      Store store(folder);
      store.put("\x11half", "made");
      fs::copy(folder + "/switch.mdb.new", folder + "/kept");
   }
   fs::rename(folder + "/kept", folder + "/switch.mdb.new");  // as a killed process leaves it
   Boot const run(folder);
   EXPECT_TRUE(run.store.fresh());
   EXPECT_THAT(rowsOf(run.table), IsEmpty());
   EXPECT_FALSE(fs::exists(folder + "/switch.mdb.new"));
}

// Limits the size of files as a full disk would; the signal that comes with it is not the disk's.
void fileSizeIs(rlim_t most) {
   std::signal(SIGXFSZ, SIG_IGN);
   rlimit const limit{most, RLIM_INFINITY};
   ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
}

TEST_F(StateTest, AFullDiskIsAnErrorThatChangesNothing) {
   std::string const value(4000, 'v');
   std::map<std::string, std::string> accepted;
   {
      Boot run(folder);
      fileSizeIs(20 << 20);
      std::optional<std::string> why;
      for (int i = 0; !why; ++i) {
         ASSERT_LT(i, 10000);
         try {
            run.table.set(inside, std::to_string(i), value);
         } catch (error const& e) {
            why = e.what();
         }
      }
      EXPECT_THAT(*why, HasSubstr("takes no more of the switch's state"));
      accepted = rowsOf(run.table);
      EXPECT_GT(accepted.size(), 3000);
      Transaction transaction(inside);
      for (int i = 0; i < 1000; ++i) run.table.set(transaction, "more" + std::to_string(i), value);
      EXPECT_THROW(transaction.commit(), error);
      EXPECT_EQ(rowsOf(run.table), accepted);
      for (int i = 0; i < 100; ++i)
         run.table.del(inside, std::to_string(i));  // a delete makes room for the next change
      run.table.set(inside, "room", value);
      accepted = rowsOf(run.table);
      fileSizeIs(RLIM_INFINITY);
   }
   EXPECT_EQ(rowsOf(Boot(folder).table), accepted);
}

TEST_F(StateTest, WhatCannotBeTheStateOfASwitchIsRefused) {
   fs::remove(folder);
   std::ofstream(folder) << "a file";
   EXPECT_EQ(refusal(), "state folder " + folder + ": it cannot be opened: Not a directory");
   fs::remove(folder);
   fs::create_directory(folder);
   std::ofstream(folder + "/letter.txt") << "mine";
   EXPECT_EQ(refusal(), "state folder " + folder + ": it holds letter.txt and no state");
   EXPECT_FALSE(fs::exists(file()));
   fs::remove(folder + "/letter.txt");
   std::ofstream(file()) << std::string(10000, 'x');
   EXPECT_EQ(refusal(), "state folder " + folder + ": its file is not one of this switch");
}

TEST_F(StateTest, ALongKeyThatStandsUnderTheHashOfAnotherIsRefused) {
   std::string const longKey(600, 'k');
   Boot(folder).table.set(inside, longKey, "1");
   auto damaged = content();
   for (auto i = damaged.find(longKey); i != std::string::npos; i = damaged.find(longKey)) damaged[i] = 'x';
   std::ofstream(file(), std::ios::binary | std::ios::trunc) << damaged;
   EXPECT_THAT(refusal(), HasSubstr("a key does not stand where its hash puts it"));
}

template <class Value>
std::string encoded(Value const& value) {
   std::string bytes;
   encode(bytes, value);
   return bytes;
}

// Why a switch refuses a folder that holds one row; empty if it takes it.
std::string refusalOf(std::string const& folder, StoredTable table, std::string const& key, std::string const& value) {
   {
      Store store(folder);
      store.put(static_cast<char>(table) + key, value);
      store.completeIs();
   }
   std::string why;
   try {
      Switch device(makeSimulatedDataplane);
      device.stateIs(folder);
   } catch (StateRefused const& e) {
      why = e.what();
   }
   fs::remove_all(folder);
   return why;
}

// Each of them would end the agent when a client asks for it.
TEST_F(StateTest, ARowThatNoClientCanBeShownIsRefused) {
   auto const policyMap = [&](int feature, int direction) {
      policy_map_key_t const key("q", policy_feature_t(feature));
      PolicyMap const row{policy_map_t(key), {{intf_id_t("Ethernet1"), acl_direction_t(direction)}}};
      return refusalOf(folder, StoredTable::policyMaps, encoded(key), encoded(row));
   };
   auto const classMap = [&](int type) {
      class_map_t map({"c", policy_feature_t::pbr});
      map.rule_set(1, class_map_rule_t({"a", acl_type_t(type)}));
      return refusalOf(folder, StoredTable::classMaps, encoded(map.key()), encoded(map));
   };
   auto const session = [&](char const* nexthop) {
      sbfd_echo_session_key_t const key(ip_addr_t(nexthop), intf_id_t("Ethernet1"), {}, 0, 0);
      return refusalOf(folder, StoredTable::sbfdSessions, encoded(key), encoded(SbfdSession()));
   };
   auto const option = [&](std::string const& key, std::string const& value, std::string const& beyond = "") {
      return refusalOf(folder, StoredTable::agentOptions, encoded(key), encoded(value) + beyond);
   };
   EXPECT_EQ(policyMap(3, 2) + classMap(2) + session("192.0.2.1") + option("gr\xc3\xbc", "\xe2\x82\xac"), "");
   EXPECT_THAT(policyMap(9, 2), HasSubstr("its file is damaged: a stored enum cannot be 9"));
   EXPECT_THAT(policyMap(3, 3), HasSubstr("a stored enum cannot be 3"));
   EXPECT_THAT(classMap(7), HasSubstr("a stored class map names an ACL of no family"));
   EXPECT_THAT(session(""), HasSubstr("a stored sBFD session names no nexthop"));
   EXPECT_THAT(option("gr\xfc", ""), HasSubstr("a stored text is not UTF-8"));
   EXPECT_THAT(option("", "\xe2\x82"), HasSubstr("a stored text is not UTF-8"));
   EXPECT_THAT(option("", "", "x"), HasSubstr("a stored value is too long"));
}

constexpr std::size_t pageSize = 4096;

void scramblePages(std::string& content) {
   for (auto i = 2 * pageSize; i < 40 * pageSize; ++i) content[i] = static_cast<char>(i * 37 + 11);
}
void changeFormat(std::string& content) {
   std::string const format("\0format\0", 8);
   for (auto i = content.find(format); i != content.npos; i = content.find(format, i + 1)) content[i + 8] = '9';
}

struct Damage {
   std::function<void(std::string& content)> inflict;
   char const* refusal;
};

TEST_F(StateTest, ADamagedFileIsRefusedAndLeftUntouched) {
   {
      Boot run(folder);
      for (int i = 0; i < 2000; ++i) run.table.set(inside, fmt::format("key{}", i), fmt::format("value of key {}", i));
   }
   auto const good = content();
   for (auto const& [inflict, why] : {Damage{[](std::string& c) { c.clear(); }, "its file is truncated"},
                                      {[](std::string& c) { c.resize(100); }, "its file is truncated"},
                                      {[](std::string& c) { c.resize(10 * pageSize); }, "its file is truncated"},
                                      {scramblePages, "its file is damaged"},
                                      {changeFormat, "its format is '9', not '1'"}}) {
      auto damaged = good;
      inflict(damaged);
      std::ofstream(file(), std::ios::binary | std::ios::trunc) << damaged;
      auto const written = fs::last_write_time(file());
      EXPECT_THAT(refusal(), HasSubstr(why));
      EXPECT_EQ(content(), damaged);
      EXPECT_EQ(fs::last_write_time(file()), written);
   }
}

}  // namespace
}  // namespace velm::embedded
