#include "clients/support/Columns.h"

#include <algorithm>
#include <numeric>

namespace VelmSdkRpc {
namespace {

bool beginsCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0U) != 0x80U; }

std::string cut(std::string const& text, std::size_t width) {
   if (charactersOf(text) <= width) return text;
   std::size_t end = 0;
   for (std::size_t seen = 0; end < text.size(); ++end) {
      if (beginsCharacter(text[end]) && seen++ + 1 == width) break;
   }
   return text.substr(0, end) + "…";
}

}  // namespace

std::size_t charactersOf(std::string_view text) {
   return static_cast<std::size_t>(std::ranges::count_if(text, beginsCharacter));
}

void Columns::widen(Row const& row) {
   for (std::size_t i = 0; i < widths_.size(); ++i) widths_[i] = std::max(widths_[i], charactersOf(row[i]));
}

std::size_t Columns::width() const {
   auto const gaps = gap.size() * (widths_.empty() ? 0 : widths_.size() - 1);
   return std::accumulate(widths_.begin(), widths_.end(), gaps);
}

void Columns::fit(std::size_t width) {
   fits_ = true;
   constexpr std::size_t narrowest = 4;
   for (auto excess = this->width(); excess > width; --excess) {
      auto const widest = std::ranges::max_element(widths_);
      if (*widest <= narrowest) return;
      --*widest;
   }
}

std::string Columns::line(Row const& row) const {
   std::string text;
   for (std::size_t i = 0; i < widths_.size(); ++i) {
      auto const cell = fits_ ? cut(row[i], widths_[i]) : row[i];
      if (i > 0) text += gap;
      text += cell;
      text.append(widths_[i] - std::min(widths_[i], charactersOf(cell)), ' ');
   }
   text.resize(text.find_last_not_of(' ') + 1);
   return text;
}

}  // namespace VelmSdkRpc
