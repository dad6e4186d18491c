// Plain text log on a FILE* it owns.
#include <ktbase/ktfilelog.h>

#include <cstring>

ktFileLog::ktFileLog() : m_reserved(nullptr), m_file(nullptr) {}

ktFileLog::~ktFileLog() { Close(); }

bool ktFileLog::Open(const char* path, const char* mode) {
  Close();
  // A null path or mode fails like an fopen that gave no stream.
  if (path == nullptr || mode == nullptr) return false;
  m_file = std::fopen(path, mode);
  return m_file != nullptr;
}

void ktFileLog::Attach(FILE* stream) {
  Close();
  m_file = stream;
}

FILE* ktFileLog::Detach() {
  FILE* stream = m_file;
  m_file = nullptr;
  return stream;
}

void ktFileLog::Close() {
  if (m_file == nullptr) return;
  std::fclose(m_file);
  m_file = nullptr;
}

void ktFileLog::Flush() {
  if (m_file != nullptr) std::fflush(m_file);
}

// Unformatted writes ("%" is written as it stands), no flush, short writes
// unreported. A null text writes nothing.
void ktFileLog::WriteLine(const char* text) {
  if (m_file == nullptr || text == nullptr) return;
  std::fwrite(text, 1, std::strlen(text), m_file);
  std::fwrite("\n", 1, 1, m_file);
}

void ktFileLog::Write(const char* text) {
  if (m_file == nullptr || text == nullptr) return;
  std::fwrite(text, 1, std::strlen(text), m_file);
}
