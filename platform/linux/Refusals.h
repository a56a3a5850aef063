#pragma once

#include <fmt/format.h>

#include <string>

#include "platform/switch/Carrier.h"
#include "platform/velm/errors.h"

namespace velm::machine {

/// Stands for a table that this dataplane does not carry out: every row is refused. Those of a folder stay in their
/// table and do nothing.
template <class Key, class Row>
class Refusing : public embedded::Carrier<Key, Row> {
 public:
   /// `what` names the rows: "MPLS routes".
   explicit Refusing(std::string what) : what_(std::move(what)) {}

   embedded::Room prepare(Key const&, Row const*, Row const&) override {
      throw unsupported_error(fmt::format("the Linux dataplane does not carry out {}", what_));
   }
   void carryOut(Key const&, Row const*, embedded::Room) noexcept override {}

 private:
   std::string const what_;
};

}  // namespace velm::machine
