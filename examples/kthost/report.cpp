#include "report.h"

namespace kthost {

namespace {
constexpr std::size_t kLabelWidth = 18;
}

void Report::Section(const std::string& title) {
  m_out << '\n' << title << '\n';
  m_out.flush();
}

void Report::Row(const std::string& label, const std::string& value, int depth) {
  std::string line(2 + 2 * static_cast<std::size_t>(depth < 0 ? 0 : depth), ' ');
  line += label;
  if (!value.empty()) {
    if (label.size() < kLabelWidth) line.append(kLabelWidth - label.size(), ' ');
    line += ' ';
    line += value;
  }
  m_out << line << '\n';
}

void Report::Note(const std::string& source, const std::string& text) {
  m_out << "    " << source << ": " << text << '\n';
  // Plug-ins note things just before they may fail: keep what was said.
  m_out.flush();
}

void Report::Line(const std::string& text) { m_out << text << '\n'; }

}  // namespace kthost
