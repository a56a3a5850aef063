#pragma once

#include <map>
#include <set>

#include "platform/velm/sdk_lock.h"

namespace velm {

/// The part of a handler that exists first: handlers register while they are being built, so their managers know them
/// by this until a notification needs the rest.
class handler_root {
 public:
   handler_root() = default;
   virtual ~handler_root() = default;
   handler_root(handler_root const&) = delete;
   handler_root& operator=(handler_root const&) = delete;
};

/// The handlers of a manager and what each of them watches. Adding, removing and switching a watch take the SDK lock;
/// notifications run on the main loop, which holds it.
///
/// Removal only clears a flag, so that a handler may be added or removed while a notification walks over the map; one
/// that was removed during the walk is not called again, one that was added is.
template <class Handler, class Key>
class base_mgr {
 public:
   base_mgr() = default;
   base_mgr(base_mgr const&) = delete;
   base_mgr& operator=(base_mgr const&) = delete;

   /// The handler is called from now on, for what it watches and for what every handler is told. Once a handler, which
   /// is not owned and must be removed before it goes.
   void add_handler(handler_root* handler) {
      sdk_scoped_lock lock;
      handlers_[handler].active = true;
   }
   /// The handler is not called any more, not even by a notification that is under way. One that was not added is no
   /// error.
   void remove_handler(handler_root* handler) {
      sdk_scoped_lock lock;
      if (auto const it = handlers_.find(handler); it != handlers_.end()) it->second = Watches{};
   }
   // Switch a watch of all keys, and one of a key. The two are apart: who watches all and one still watches the one
   // when the other ends. Repeating either is no error.
   void watch_all(handler_root* handler, bool on) {
      sdk_scoped_lock lock;
      handlers_[handler].all = on;
   }
   void watch(handler_root* handler, Key const& key, bool on) {
      sdk_scoped_lock lock;
      auto& keys = handlers_[handler].keys;
      if (on) {
         keys.insert(key);
      } else {
         keys.erase(key);
      }
   }

   /// Whether any handler watches anything at all: if not, an event need not even be queued. Under the SDK lock.
   bool watched() const {
      for (auto const& [handler, watches] : handlers_) {
         if (watches.all || !watches.keys.empty()) return true;
      }
      return false;
   }
   /// Calls fn(key) for every key that some handler watches, once each, and fn(nullptr) first if one watches them all.
   template <class Fn>
   void for_each_watched(Fn&& fn) const {
      std::set<Key> keys;
      bool all = false;
      for (auto const& [handler, watches] : handlers_) {
         all |= watches.all;
         keys.insert(watches.keys.begin(), watches.keys.end());
      }
      if (all) fn(static_cast<Key const*>(nullptr));
      for (auto const& key : keys) fn(&key);
   }

   /// Calls fn(handler) for every handler, watching or not.
   template <class Fn>
   void notify_every(Fn&& fn) {
      walk([](Watches const&) { return true; }, fn);
   }
   /// Calls fn(handler) for every handler that watches the key or all keys.
   template <class Fn>
   void notify(Key const& key, Fn&& fn) {
      walk([&](Watches const& watches) { return watches.all || watches.keys.contains(key); }, fn);
   }

 private:
   struct Watches {
      bool active = false;
      bool all = false;
      std::set<Key> keys;
   };

   // The last walk to end, by return or by exception, clears away what was removed meanwhile.
   struct Walking {
      explicit Walking(base_mgr& mgr) : mgr(mgr) { ++mgr.walks_; }
      ~Walking() {
         if (--mgr.walks_ == 0) std::erase_if(mgr.handlers_, [](auto const& entry) { return !entry.second.active; });
      }
      base_mgr& mgr;
   };

   template <class Wanted, class Fn>
   void walk(Wanted wanted, Fn& fn) {
      Walking const walking(*this);
      for (auto it = handlers_.begin(); it != handlers_.end(); ++it) {
         if (it->second.active && wanted(it->second)) fn(static_cast<Handler&>(*it->first));
      }
   }

   std::map<handler_root*, Watches> handlers_;  // guarded by the SDK lock
   int walks_ = 0;                              // notifications under way: a callback may cause another
};

/// Root of the handlers: registered with the manager for as long as it lives. The manager is not owned and must outlive
/// the handler.
template <class Mgr, class Handler>
class base_handler : public handler_root {
 public:
   explicit base_handler(Mgr* mgr) : mgr_(mgr) { mgr_->add_handler(this); }
   ~base_handler() override { mgr_->remove_handler(this); }

 protected:
   Mgr* get_mgr() const { return mgr_; }

 private:
   Mgr* mgr_;
};

}  // namespace velm
