#pragma once

#include <cstddef>
#include <cstdio>
#include <string>
#include <string_view>

namespace VelmSdkRpc::ctl {

enum class Color { automatic, always, never };

/// The far end of a standard stream: whether it is a terminal, how wide that is, and whether it shows colour.
class Terminal {
 public:
   /// Colour, where it is automatic, is for terminals of users who have not set NO_COLOR.
   Terminal(std::FILE* stream, Color color);

   bool isTerminal() const { return isTerminal_; }
   /// In characters; 0 if it is no terminal.
   std::size_t width() const;

   std::string bold(std::string_view text) const { return styled("1", text); }
   std::string alarming(std::string_view text) const { return styled("1;31", text); }

 private:
   std::string styled(std::string_view style, std::string_view text) const;

   int file_;
   bool isTerminal_;
   bool hasColor_;
};

}  // namespace VelmSdkRpc::ctl
