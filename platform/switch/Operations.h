#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <source_location>
#include <string>
#include <string_view>

#include "platform/switch/CallLedger.h"

namespace velm::embedded {

/// A name that is a template's argument.
template <std::size_t size>
struct Name {
   consteval Name(char const (&text)[size]) {  // NOLINT(google-explicit-constructor): a literal is a name
      std::copy_n(text, size, chars.begin());
   }
   constexpr std::string_view view() const { return {chars.data(), size - 1}; }

   std::array<char, size> chars{};
};

/// The operations of one manager, each listed once by the name that the SDK gives it:
///
///    Operations<"class_map_mgr", "exists", "class_map", "class_map_is", "class_map_del"> operations_;
template <Name manager, Name... names>
class Operations {
 public:
   /// The operation whose name the calling function bears, a member of a class at namespace scope. One that is not
   /// listed does not compile.
   class Own {
    public:
      consteval Own(std::source_location where = std::source_location::current())  // NOLINT: an operation's default
         : index(indexOf(where.function_name())) {}
      std::size_t const index;

    private:
      static consteval std::size_t indexOf(std::string_view signature) {
         signature = signature.substr(0, signature.find('('));
         signature.remove_prefix(signature.find_last_of(": ") + 1);
         constexpr std::array all{names.view()...};
         auto const it = std::ranges::find(all, signature);
         if (it == all.end()) throw "the function is not among the manager's operations";
         return static_cast<std::size_t>(it - all.begin());
      }
   };

   explicit Operations(CallLedger& ledger)
      : ledger_(ledger), all_{Operation(ledger, std::string(manager.view()).append(".").append(names.view()))...} {}

   Operation& operator[](Own own) const { return all_[own.index]; }
   CallLedger& ledger() const { return ledger_; }

 private:
   CallLedger& ledger_;
   mutable std::array<Operation, sizeof...(names)> all_;  // that an operation is const does not make it uncounted
};

/// An operation under way. Stands first in each operation of a manager, in whose name it takes the SDK lock, counts,
/// and throws the fault that was set for it:
///
///    Call const call(operations_);
class Call : public Inside {
 public:
   template <class Operations>
   explicit Call(Operations const& operations, typename Operations::Own own = {}) : Call(operations[own]) {}

 private:
   explicit Call(Operation& operation) : Inside(operation.ledger_) {
      if (!outermost()) return;
      ++operation.calls_;
      if (!operation.faults_.empty()) [[unlikely]]
         operation.throwNextFault();
   }
};

}  // namespace velm::embedded
