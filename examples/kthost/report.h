// kthost's report on standard output: titled sections of aligned rows, and
// indented notes from the plug-ins.
#ifndef KTBASE_EXAMPLES_KTHOST_REPORT_H
#define KTBASE_EXAMPLES_KTHOST_REPORT_H

#include <ostream>
#include <string>

namespace kthost {

class Report {
 public:
  explicit Report(std::ostream& out) : m_out(out) {}

  // A blank line, then the title on a line of its own.
  void Section(const std::string& title);
  // "  label           value" (value column aligned; an empty value prints
  // the label alone). `depth` adds two spaces of indentation per level.
  void Row(const std::string& label, const std::string& value, int depth = 0);
  // "    source: text": what a plug-in said it did.
  void Note(const std::string& source, const std::string& text);
  // A line as it is.
  void Line(const std::string& text);
  // Writes what is buffered: before anything that may end the process.
  void Flush() { m_out.flush(); }

 private:
  std::ostream& m_out;
};

}  // namespace kthost

#endif  // KTBASE_EXAMPLES_KTHOST_REPORT_H
