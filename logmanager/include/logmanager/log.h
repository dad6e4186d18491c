// liblogmanager stand-in: the logging library the framework writes to.
//
// A record is every piece written to one stream operator; when the last
// holder of the operator releases it, the record is delivered whole to the
// sink. The default sink writes each record to standard error, with its level
// named (0 info, 1 warning, 2 error, 3+ critical), flushed per record.
//
// Usage:
//   Log::Singleton::Instance()->Stream(2) << "Cannot find: " << path
//                                         << std::endl;
//
// Singleton and IStreamOperator slots are append-only.
#ifndef LOGMANAGER_LOG_H
#define LOGMANAGER_LOG_H

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#if defined(__GNUC__)
#define LOGMANAGER_API __attribute__((visibility("default")))
#else
#define LOGMANAGER_API
#endif

namespace Log {

class LOGMANAGER_API IStreamOperator : public std::enable_shared_from_this<IStreamOperator> {
 public:
  virtual ~IStreamOperator();
  // Append a text piece; returns the operator for the next piece.
  virtual std::shared_ptr<IStreamOperator> operator<<(const char* text) = 0;
  virtual std::shared_ptr<IStreamOperator> operator<<(const std::string& text) = 0;
  // Apply a stream manipulator (std::endl ends a line of the record).
  virtual std::shared_ptr<IStreamOperator> Apply(std::ostream& (*manipulator)(std::ostream&)) = 0;
};

class LOGMANAGER_API Singleton {
 public:
  // The process-wide logger; never null.
  static Singleton* Instance();

  virtual ~Singleton();
  // Whether records at `level` are delivered.
  virtual bool IsEnabled(const int& level) = 0;
  // A new record at `level`.
  virtual std::shared_ptr<IStreamOperator> Stream(const int& level) = 0;
};

// Chaining on the shared pointer: `op << "a" << str << std::endl`.
LOGMANAGER_API std::shared_ptr<IStreamOperator> operator<<(
    const std::shared_ptr<IStreamOperator>& op, std::ostream& (*manipulator)(std::ostream&));
LOGMANAGER_API std::shared_ptr<IStreamOperator> operator<<(
    const std::shared_ptr<IStreamOperator>& op, const char* text);
LOGMANAGER_API std::shared_ptr<IStreamOperator> operator<<(
    const std::shared_ptr<IStreamOperator>& op, const std::string& text);

// Where finished records go: (level, whole record text, line feeds included).
using Sink = std::function<void(int level, const std::string& record)>;

// Replaces the sink (e.g. to capture records in a test); an empty function
// restores the default. Returns the previous sink (empty for the default).
LOGMANAGER_API Sink SetSink(Sink sink);
// Restores the default standard-error sink.
LOGMANAGER_API void ResetSink();

}  // namespace Log

#endif  // LOGMANAGER_LOG_H
