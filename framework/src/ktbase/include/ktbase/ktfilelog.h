/// @file
/// ktFileLog, plain text to a `FILE*`.
/// @ingroup diagnostics
#ifndef KTBASE_KTFILELOG_H
#define KTBASE_KTFILELOG_H

#include <ktbase/ilog.h>
#include <ktbase/ktbase_export.h>

#include <cstdio>

/// Writes the caller's text, unformatted, to a `FILE*`. It owns whatever
/// stream it holds (opened or attached) and closes it in Close(), the
/// destructor, and before taking another; only Detach() gives a stream back.
/// No flushing on write; short writes are not reported. Nothing here throws.
/// @onethread
/// @ingroup diagnostics
class KTBASE_API ktFileLog : public qrn::fwk::ILog {
 public:
  /// No stream: writes do nothing until Open() or Attach().
  ktFileLog();
  /// Closes the stream it holds.
  ~ktFileLog() override;

  ktFileLog(const ktFileLog&) = delete;
  ktFileLog& operator=(const ktFileLog&) = delete;

  /// Closes the current stream, then opens a file.
  /// @param path The file, as for `fopen`; null fails.
  /// @param mode The `fopen` mode, e.g. "a"; null fails.
  /// @return True when the file is open; false leaves no stream.
  bool Open(const char* path, const char* mode);
  /// Closes the current stream, then owns another.
  /// @param stream Owned from now on (closed by this object); null leaves
  ///   no stream.
  void Attach(FILE* stream);
  /// Gives the stream back without closing it.
  /// @return The stream, now the caller's; null when there is none.
  FILE* Detach();
  /// Closes the stream, if any.
  void Close();
  /// Flushes the stream, if any.
  void Flush();

  /// Writes `text` and a line feed; without a stream, or with a null text,
  /// does nothing.
  /// @param text Zero-terminated text, written as it stands ("%" included).
  void WriteLine(const char* text) override;
  /// Writes `text`; without a stream, or with a null text, does nothing.
  /// @param text Zero-terminated text, written as it stands.
  void Write(const char* text) override;

 private:
  [[maybe_unused]] void* m_reserved;  // unused; kept for the class's layout
  FILE* m_file;
};

#endif  // KTBASE_KTFILELOG_H
