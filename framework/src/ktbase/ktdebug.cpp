// The debug service: one borrowed output console and the assertion hook.
#include <ktbase/ktdebug.h>
#include <ktbase/platform_linux.h>

#include <string>

ktdebug::ktdebug() : m_console(nullptr) {}

ktdebug::~ktdebug() = default;

// Instance counting and leak reports are deliberately empty on this platform.
void ktdebug::InstanceCountIncrease(const char* /*className*/) {}
void ktdebug::InstanceCountDecrease(const char* /*className*/) {}
void ktdebug::DumpLeaks() {}

bool ktdebug::Assert(bool condition, const char* failed, const char* message, const char* detail,
                     const char* file, int line, bool flag) {
  return _plateform_assert(condition, failed, message, detail, file, line, flag);
}

void ktdebug::PrintDebugString(const char* text) {
  // Cheap when output is off: the text is not touched. A null text is
  // ignored as well.
  if (m_console == nullptr || text == nullptr) return;

  std::string line(text);
  // Append "\n" unless the last one already ends the text. For "" both sides
  // are npos, so an empty text goes out empty; deliberate.
  if (line.rfind('\n') != line.size() - 1) line += '\n';
  m_console->Write(line, 0, 0, 3);
}

void ktdebug::RegisterDebugOutputConsole(qrn::diagnostics::IOutputConsole* console) {
  m_console = console;
}
