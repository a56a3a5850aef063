// How a table speaks to what carries its rows out: what is asked and told, in which order, and what a refusal leaves.
#include <fmt/format.h>
#include <gmock/gmock.h>

#include <filesystem>
#include <stdlib.h>
#include <string>
#include <utility>
#include <vector>

#include "platform/switch/Store.h"
#include "platform/switch/Table.h"

namespace velm::embedded {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// A text whose last letter a purge takes away while it is marked.
struct Word {
   std::string text;
   bool marked = false;

   void mark(bool on) { marked = on; }
   bool prunable() const { return marked && text.size() > 1; }
   void prune() { text.pop_back(); }
   static constexpr auto attributes() { return std::tuple{attribute{"text", &Word::text}}; }
};

/// Writes down what it is asked and told, and counts the room that it has given away. Refuses "bad".
class Recorder : public Carrier<int, Word>, private Room::Keeper {
 public:
   Room prepare(int const& key, Word const* now, Word const& next) override {
      if (next.text == "bad") throw unsupported_error("bad words cannot be");
      seen.push_back(fmt::format("{}: {} to {}?", key, now == nullptr ? "" : now->text, next.text));
      ++kept;
      return {*this, 1};
   }
   void carryOut(int const& key, Word const* now, Room room) noexcept override {
      seen.push_back(fmt::format("{}{} {}", key, room ? ":" : " unasked:", now == nullptr ? "gone" : now->text));
      kept -= room.use();
   }
   void refused(int const& key, Word const& row, std::string const& why) override {
      seen.push_back(fmt::format("{}: not {}, {}", key, row.text, why));
   }

   std::vector<std::string> take() { return std::exchange(seen, {}); }
   std::vector<std::string> seen;
   std::uint64_t kept = 0;

 private:
   void giveBack(std::uint64_t what) noexcept override { kept -= what; }
};

class CarrierTest : public ::testing::Test {
 protected:
   CarrierTest() { table.carrierIs(&carrier); }
   ~CarrierTest() override { EXPECT_EQ(carrier.kept, 0U); }

   template <class... Numbers>
   void set(std::pair<int, char const*> const& row, Numbers const&... rows) {
      table.set(inside, row.first, {row.second});
      if constexpr (sizeof...(rows) > 0) set(rows...);
   }
   static std::string textOf(Table<int, Word> const& rows) {
      std::string all;
      rows.each([&](int key, Word const& word) { all += fmt::format("{}{} ", key, word.text); });
      return all;
   }

   CallLedger ledger;
   Inside const inside{ledger};
   Recorder carrier;
   Table<int, Word> table;
};

TEST_F(CarrierTest, EachChangeIsAskedForAndThenToldAndOneThatTakesAwayIsToldAlone) {
   set(std::pair{1, "a"});
   table.update(inside, 1, [](Word& word) { word.text += "b"; });
   table.amend(inside, 1, [](Word&) {});
   table.del(inside, 1);
   table.del(inside, 1);
   EXPECT_THAT(carrier.take(),
               ElementsAre("1:  to a?", "1: a", "1: a to ab?", "1: ab", "1: ab to ab?", "1: ab", "1 unasked: gone"));
   EXPECT_THROW(set(std::pair{2, "bad"}), unsupported_error);
   EXPECT_THAT(carrier.take(), IsEmpty());
   EXPECT_EQ(textOf(table), "");
}

TEST_F(CarrierTest, ATransactionAsksForAllBeforeItTellsOfTheFirst) {
   set(std::pair{1, "a"}, std::pair{2, "b"});
   carrier.take();
   {
      Transaction transaction(inside);
      table.set(transaction, 3, {"c"});
      table.update(transaction, 1, [](Word& word) { word.text = "A"; });
      table.del(transaction, 2);
      table.setReported(transaction, 4, {"bad"});  // nobody is asked
      transaction.commit();
   }
   EXPECT_THAT(carrier.take(), ElementsAre("3:  to c?", "1: a to A?", "3: c", "1: A", "2 unasked: gone"));
   {
      Transaction dropped(inside);
      table.set(dropped, 1, {"lost"});
      EXPECT_EQ(carrier.kept, 1U);
      EXPECT_THROW(table.set(dropped, 5, {"bad"}), unsupported_error);
   }
   EXPECT_EQ(carrier.kept, 0U);
   EXPECT_EQ(textOf(table), "1A 3c 4bad ");
   carrier.take();
   Transaction cleared(inside);
   table.clear(cleared);
   cleared.commit();
   EXPECT_THAT(carrier.take(), ElementsAre("1 unasked: gone", "3 unasked: gone", "4 unasked: gone"));
}

TEST_F(CarrierTest, APurgeTellsOfWhatGoesAndOfWhatBecomesLess) {
   set(std::pair{1, "a"}, std::pair{2, "bc"}, std::pair{3, "d"});
   table.markAll(inside);
   table.update(inside, 2, [](Word& word) { word.mark(true); });
   set(std::pair{3, "d"});
   carrier.take();
   table.purge(inside);
   EXPECT_THAT(carrier.take(), ElementsAre("1 unasked: gone", "2 unasked: b"));
}

/// Tables on a folder of the test's own.
class StoredCarrierTest : public CarrierTest {
 protected:
   ~StoredCarrierTest() override { std::filesystem::remove_all(top); }
   static std::string made() {
      std::string pattern = std::filesystem::temp_directory_path() / "carrier-XXXXXX";
      return mkdtemp(pattern.data());
   }
   /// What another process finds.
   std::string stored() const {
      Store store(top + "/state");
      Table<int, Word> found;
      found.storeIs(store, StoredTable::agentOptions);
      return textOf(found);
   }

   std::string const top = made();
};

TEST_F(StoredCarrierTest, WhatIsRefusedIsNotInTheFolder) {
   {
      Store store(top + "/state");
      table.storeIs(store, StoredTable::agentOptions);
      store.completeIs();
      set(std::pair{1, "a"}, std::pair{2, "b"});
      EXPECT_THROW(set(std::pair{1, "bad"}), unsupported_error);
      EXPECT_THROW(table.amend(inside, 2, [](Word& word) { word.text = "bad"; }), unsupported_error);
      Transaction transaction(inside);
      table.set(transaction, 2, {"lost"});
      EXPECT_THROW(table.set(transaction, 3, {"bad"}), unsupported_error);
   }
   EXPECT_EQ(textOf(table), "1a 2b ");
   EXPECT_EQ(stored(), "1a 2b ");
}

TEST_F(StoredCarrierTest, RowsThatComeBackAreNeverRefusedAndReplaceThoseThatStand) {
   {
      Store store(top + "/state");
      Table<int, Word> before;
      before.storeIs(store, StoredTable::agentOptions);
      store.completeIs();
      before.set(inside, 2, {"new"});
      before.set(inside, 3, {"bad"});
   }
   set(std::pair{1, "a"}, std::pair{2, "old"});
   carrier.take();
   Store store(top + "/state");
   table.storeIs(store, StoredTable::agentOptions);
   EXPECT_THAT(carrier.take(), ElementsAre("1 unasked: gone", "2 unasked: gone", "2:  to new?", "2: new",
                                           "3: not bad, bad words cannot be"));
   EXPECT_EQ(textOf(table), "2new 3bad ");
}

}  // namespace
}  // namespace velm::embedded
