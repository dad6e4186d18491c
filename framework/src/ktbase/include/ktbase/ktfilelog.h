// ktFileLog: writes the caller's text, unformatted, to a FILE*. It owns
// whatever stream it holds (opened or attached) and closes it in Close(), the
// destructor, and before taking another; only Detach() gives a stream back.
// No locking, no flushing on write, short writes are not reported.
#ifndef KTBASE_KTFILELOG_H
#define KTBASE_KTFILELOG_H

#include <ktbase/ilog.h>
#include <ktbase/ktbase_export.h>

#include <cstdio>

class KTBASE_API ktFileLog : public qrn::fwk::ILog {
 public:
  ktFileLog();
  ~ktFileLog() override;

  ktFileLog(const ktFileLog&) = delete;
  ktFileLog& operator=(const ktFileLog&) = delete;

  // Closes the current stream, then fopen(path, mode). True on success.
  bool Open(const char* path, const char* mode);
  // Closes the current stream, then owns `stream` (null accepted).
  void Attach(FILE* stream);
  // Gives the stream back without closing it; null when there is none.
  FILE* Detach();
  void Close();
  void Flush();

  void WriteLine(const char* text) override;
  void Write(const char* text) override;

 private:
  [[maybe_unused]] void* m_reserved;  // unused; kept for the class's layout
  FILE* m_file;
};

#endif  // KTBASE_KTFILELOG_H
