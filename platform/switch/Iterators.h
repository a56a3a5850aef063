#pragma once

#include <memory>
#include <optional>
#include <type_traits>
#include <utility>
#include <vector>

#include "platform/switch/TableCursor.h"
#include "platform/velm/iter.h"
#include "platform/velm/sdk_lock.h"

namespace velm::embedded {

/// Walks a table; project(key, value) makes the element, which is kept: reading it needs no lock and no row.
template <class Key, class Value, class Project>
class TableIter : public iter_impl<std::invoke_result_t<Project, Key const&, Value const&>> {
 public:
   using Element = std::invoke_result_t<Project, Key const&, Value const&>;

   TableIter(Table<Key, Value> const& table, Project project) : cursor_(table), project_(project) { arrive(); }

   std::unique_ptr<iter_impl<Element>> clone() const override { return std::make_unique<TableIter>(*this); }
   Element const* current() const override { return element_ ? &*element_ : nullptr; }
   void advance() override {
      sdk_scoped_lock const lock;
      cursor_.advance();
      arrive();
   }

 private:
   void arrive() {
      if (cursor_.atEnd()) {
         element_.reset();
      } else {
         element_ = project_(cursor_.key(), cursor_.value());
      }
   }

   typename Table<Key, Value>::Cursor cursor_;
   Project project_;
   std::optional<Element> element_;
};

template <class Key, class Value, class Project>
auto makeTableIter(Table<Key, Value> const& table, Project project) {
   using Iter = TableIter<Key, Value, Project>;
   using Element = typename Iter::Element;
   return iter_base<Element>(std::make_unique<Iter>(table, project));
}

/// Walks the few elements that hang on one row, as they were when the iterator was made, without those that have gone
/// meanwhile. They have an order of their own and no key to find a place by, so a copy of all is the simpler way; one
/// that came meanwhile is not met. stillThere(element) is asked under the SDK lock.
template <class T, class StillThere>
class SnapshotIter : public iter_impl<T> {
 public:
   SnapshotIter(std::vector<T> elements, StillThere stillThere)
      : elements_(std::move(elements)), stillThere_(std::move(stillThere)) {}

   std::unique_ptr<iter_impl<T>> clone() const override { return std::make_unique<SnapshotIter>(*this); }
   T const* current() const override { return index_ < elements_.size() ? &elements_[index_] : nullptr; }
   void advance() override {
      sdk_scoped_lock const lock;
      while (index_ < elements_.size() && !(++index_ < elements_.size() && stillThere_(elements_[index_]))) {
      }
   }

 private:
   std::vector<T> elements_;
   StillThere stillThere_;
   std::size_t index_ = 0;
};

template <class T, class StillThere>
iter_base<T> makeSnapshotIter(std::vector<T> elements, StillThere stillThere) {
   return iter_base<T>(std::make_unique<SnapshotIter<T, StillThere>>(std::move(elements), std::move(stillThere)));
}

}  // namespace velm::embedded
