// The switch's route table at a million routes, in the process: what a manager costs above a bare container, and a
// state folder above a bare database.

#include <absl/container/btree_map.h>
#include <fmt/format.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <endian.h>
#include <functional>
#include <memory>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "bench/Program.h"
#include "bench/Report.h"
#include "bench/Rounds.h"
#include "clients/support/TempFolder.h"
#include "platform/switch/Database.h"
#include "platform/switch/IpRouteMgr.h"
#include "platform/switch/Store.h"

namespace VelmSdkRpc::Bench {
namespace {

using velm::ip_route_key_t;
using velm::ip_route_t;
namespace embedded = velm::embedded;

struct Options {
   std::string json;
   std::size_t routes = 1'000'000;
   std::size_t rounds = 5;
};

ip_route_key_t keyOf(std::uint32_t number) {
   auto const address = htobe32(0x0A000000 + number);
   return ip_route_key_t(
      velm::ip_prefix_t(velm::ip_addr_t(velm::af_t::ipv4, reinterpret_cast<unsigned char const*>(&address)), 32));
}

using Keys = std::vector<ip_route_key_t>;

/// Something that keeps routes, as empty at the start of each operation's round as at its end.
class Contender {
 public:
   explicit Contender(char const* name) : name_(name) {}
   virtual ~Contender() = default;
   Contender(Contender const&) = delete;
   Contender& operator=(Contender const&) = delete;

   char const* name() const { return name_; }
   virtual void set(ip_route_key_t const& key) = 0;
   virtual void del(ip_route_key_t const& key) = 0;
   virtual bool find(ip_route_key_t const& key) = 0;
   virtual std::size_t iterate() = 0;
   /// Keeps these and drops the rest.
   virtual void resync(Keys const& kept, Keys const& dropped) = 0;

 private:
   char const* name_;
};

class BareTree : public Contender {
 public:
   BareTree() : Contender("absl::btree_map") {}
   void set(ip_route_key_t const& key) override { tree_[key] = 1; }
   void del(ip_route_key_t const& key) override { tree_.erase(key); }
   bool find(ip_route_key_t const& key) override { return tree_.contains(key); }
   std::size_t iterate() override {
      std::size_t sum = 0;
      for (auto const& [key, tag] : tree_) sum += key.preference();
      return sum;
   }
   void resync(Keys const& kept, Keys const& dropped) override {
      for (auto const& key : kept) set(key);
      for (auto const& key : dropped) del(key);
   }

 private:
   absl::btree_map<ip_route_key_t, std::uint32_t> tree_;
};

class BareDatabase : public Contender {
 public:
   BareDatabase() : Contender("database alone") {}
   void set(ip_route_key_t const& key) override {
      auto const bytes = bytesOf(key);
      database_.write([&](embedded::Database::Change& change) { change.put(bytes, value_); });
   }
   void del(ip_route_key_t const& key) override {
      auto const bytes = bytesOf(key);
      database_.write([&](embedded::Database::Change& change) { change.del(bytes); });
   }
   bool find(ip_route_key_t const& key) override {
      bool found = false;
      database_.walk(bytesOf(key), [&](std::string_view, std::string_view) { found = true; });
      return found;
   }
   std::size_t iterate() override {
      std::size_t sum = 0;
      database_.walk({}, [&](std::string_view key, std::string_view) { sum += key.size(); });
      return sum;
   }
   void resync(Keys const& kept, Keys const& dropped) override {
      for (auto const& key : kept) set(key);
      database_.write([&](embedded::Database::Change& change) {
         for (auto const& key : dropped) change.del(bytesOf(key));
      });
   }

 private:
   static std::string bytesOf(ip_route_key_t const& key) {
      std::string bytes(1, '\4');
      embedded::encode(bytes, std::string_view());
      embedded::encode(bytes, key);
      return bytes;
   }

   TempFolder const folder_;
   embedded::Database database_{folder_.path() + "/data", embedded::Database::Access::readWrite};
   std::string const value_ = std::string(13, 'v');  // as long as a route without vias
};

class Manager : public Contender {
 public:
   explicit Manager(bool stored) : Contender(stored ? "ip_route_mgr, state folder" : "ip_route_mgr") {
      if (!stored) return;
      folder_ = std::make_unique<TempFolder>();
      store_ = std::make_unique<embedded::Store>(folder_->path());
      mgr_->storeIs(*store_);
      store_->completeIs();
   }
   ~Manager() override { mgr_.reset(); }
   void set(ip_route_key_t const& key) override { routes().ip_route_set(ip_route_t(key)); }
   void del(ip_route_key_t const& key) override { routes().ip_route_del(key); }
   bool find(ip_route_key_t const& key) override { return routes().exists(key); }
   std::size_t iterate() override {
      std::size_t sum = 0;
      for (auto it = routes().ip_route_iter(); it; ++it) sum += it->key().preference();
      return sum;
   }
   void resync(Keys const& kept, Keys const&) override {
      routes().resync_init();
      for (auto const& key : kept) set(key);
      routes().resync_complete();
   }

 private:
   velm::ip_route_mgr& routes() { return *mgr_; }

   std::unique_ptr<TempFolder> folder_;
   std::unique_ptr<embedded::Store> store_;
   embedded::CallLedger ledger_;
   std::unique_ptr<embedded::IpRouteMgr> mgr_ = std::make_unique<embedded::IpRouteMgr>(ledger_);
};

struct Work {
   char const* name;
   std::size_t operations;
   std::function<void(Contender&, std::size_t round)> run;
   std::function<void(Contender&, std::size_t round)> undo;
};

Sample timed(std::function<void()> const& work) {
   auto const start = std::chrono::steady_clock::now();
   work();
   return {std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count(), 0};
}

/// The table's keys are the even numbers; the odd ones are fresh.
class Works {
 public:
   explicit Works(std::size_t routes) : held_(routes) {
      for (std::size_t i = 0; i < routes; ++i) held_[i] = keyOf(static_cast<std::uint32_t>(2 * i));
   }

   void load(Contender& contender) const {
      for (auto const& key : held_) contender.set(key);
   }

   std::vector<Work> all() const {
      std::size_t const some = std::min<std::size_t>(held_.size(), 100'000);
      auto const each = [this, some](auto operation, bool fresh) {
         return [this, some, operation, fresh](Contender& contender, std::size_t round) {
            for (auto const& key : sample(some, fresh, round)) operation(contender, key);
         };
      };
      auto const set = [](Contender& c, ip_route_key_t const& key) { c.set(key); };
      auto const del = [](Contender& c, ip_route_key_t const& key) { c.del(key); };
      auto const find = [](Contender& c, ip_route_key_t const& key) { c.find(key); };
      auto const nothing = [](Contender&, std::size_t) {};
      return {{"set, fresh", some, each(set, true), each(del, true)},
              {"set, held", some, each(set, false), nothing},
              {"find", some, each(find, false), nothing},
              {"delete", some, each(del, false), each(set, false)},
              {"iterate", held_.size(), [](Contender& c, std::size_t) { c.iterate(); }, nothing},
              {"resync, half purged", held_.size(), [this](Contender& c, std::size_t) { c.resync(half(0), half(1)); },
               [this](Contender& c, std::size_t) {
                  for (auto const& key : half(1)) c.set(key);
               }}};
   }

 private:
   // Keys from all over the table, the same for all contenders of a round.
   Keys const& sample(std::size_t count, bool fresh, std::size_t round) const {
      if (auto const name = std::tuple{count, fresh, round}; std::exchange(sampleName_, name) != name) {
         std::mt19937_64 random(round);
         std::vector<std::uint32_t> numbers(held_.size());
         std::iota(numbers.begin(), numbers.end(), 0U);
         std::ranges::shuffle(numbers, random);
         sample_.clear();
         for (std::size_t i = 0; i < count; ++i) sample_.push_back(keyOf(2 * numbers[i] + (fresh ? 1 : 0)));
      }
      return sample_;
   }
   Keys half(std::size_t which) const {
      Keys half;
      for (std::size_t i = which; i < held_.size(); i += 2) half.push_back(held_[i]);
      return half;
   }

   Keys held_;
   mutable Keys sample_;
   mutable std::tuple<std::size_t, bool, std::size_t> sampleName_;
};

void run(Options const& options) {
   Report report("switch_table",
                 fmt::format("a table of {} routes in the process; medians of {} rounds, one contender after the other",
                             options.routes, options.rounds),
                 {{"operation", "operation"},
                  {"contender", "contender"},
                  {"per_second", "routes/s"},
                  {"ns", "ns/route"},
                  {"of_tree", "of btree_map", 2},
                  {"of_database", "of database", 2}});
   report.fact("routes", static_cast<double>(options.routes));
   report.note("Ratios are of speeds, in pairs of one round. The keys come from all over the table.");
   std::vector<std::unique_ptr<Contender>> contenders;
   contenders.push_back(std::make_unique<BareTree>());
   contenders.push_back(std::make_unique<Manager>(false));
   contenders.push_back(std::make_unique<BareDatabase>());
   contenders.push_back(std::make_unique<Manager>(true));
   Works const works(options.routes);
   for (auto const& contender : contenders) works.load(*contender);
   for (auto const& work : works.all()) {
      auto const samples = interleave(contenders.size(), options.rounds, [&](std::size_t who, std::size_t round) {
         auto const sample = timed([&] { work.run(*contenders[who], round); });
         work.undo(*contenders[who], round);
         return sample;
      });
      for (std::size_t i = 0; i < contenders.size(); ++i) {
         auto const seconds = medianOf(samples[i], &Sample::seconds);
         auto const operations = static_cast<double>(work.operations);
         auto const ofTree = ratioOfPairs(samples[0], samples[i], &Sample::seconds);
         auto const ofDatabase = ratioOfPairs(samples[2], samples[i], &Sample::seconds);
         report.row({work.name, contenders[i]->name(), operations / seconds, seconds / operations * 1e9, ofTree.median,
                     ofDatabase.median});
         if (i % 2 == 0) continue;  // the floors: the tree and the database
         report.claim({.what = fmt::format("{}, {}", work.name, contenders[i]->name()),
                       .figure = operations / seconds,
                       .unit = "routes/s",
                       .ratio = i == 1 ? ofTree : ofDatabase,
                       .ratioTo = contenders[i - 1]->name()});
      }
   }
   report.publish(options.json);
}

}  // namespace
}  // namespace VelmSdkRpc::Bench

int main(int argc, char** argv) {
   namespace Bench = VelmSdkRpc::Bench;
   Bench::Options options;
   Bench::Program program("switch_table", "Compares the switch's route table with bare containers.");
   program.json(options.json)
      .count("--routes", options.routes, "Routes in the table")
      .count("--rounds", options.rounds, "Rounds");
   return program.main(argc, argv, [&] { Bench::run(options); });
}
