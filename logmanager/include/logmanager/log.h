/// @file
/// liblogmanager, the logging library the framework writes its records to.
///
/// A record is every piece written to one stream operator; when the last
/// holder of the operator releases it, the record is delivered whole to the
/// sink. The default sink writes each record to standard error, with its level
/// named (0 info, 1 warning, 2 error, 3+ critical), flushed per record.
///
/// Usage:
///
///     Log::Singleton::Instance()->Stream(2) << "Cannot find: " << path
///                                           << std::endl;
///
/// Singleton and IStreamOperator slots are append-only.
/// @ingroup diagnostics
#ifndef LOGMANAGER_LOG_H
#define LOGMANAGER_LOG_H

#include <functional>
#include <memory>
#include <ostream>
#include <string>

#if defined(__GNUC__)
/// The export macro of liblogmanager.so.
/// @ingroup diagnostics
#define LOGMANAGER_API __attribute__((visibility("default")))
#else
#define LOGMANAGER_API
#endif

/// The logging library's names.
/// @ingroup diagnostics
namespace Log {

/// One record in the making. Shared: the record is delivered when the last
/// `std::shared_ptr` to it is released.
/// @onethread
/// @ingroup diagnostics
class LOGMANAGER_API IStreamOperator : public std::enable_shared_from_this<IStreamOperator> {
 public:
  virtual ~IStreamOperator();
  /// Appends a text piece.
  /// @param text Zero-terminated text (copied).
  /// @return This operator, for the next piece.
  virtual std::shared_ptr<IStreamOperator> operator<<(const char* text) = 0;
  /// Appends a text piece.
  /// @param text The text (copied).
  /// @return This operator, for the next piece.
  virtual std::shared_ptr<IStreamOperator> operator<<(const std::string& text) = 0;
  /// Applies a stream manipulator (`std::endl` ends a line of the record).
  /// @param manipulator The manipulator.
  /// @return This operator, for the next piece.
  virtual std::shared_ptr<IStreamOperator> Apply(std::ostream& (*manipulator)(std::ostream&)) = 0;
};

/// The process-wide logger.
/// @onethread
/// @ingroup diagnostics
class LOGMANAGER_API Singleton {
 public:
  /// @return The process-wide logger; never null, never to be deleted.
  static Singleton* Instance();

  virtual ~Singleton();
  /// @param level The level.
  /// @return Whether records at `level` are delivered.
  virtual bool IsEnabled(const int& level) = 0;
  /// Starts a record.
  /// @param level The level: 0 info, 1 warning, 2 error, 3 and more critical.
  /// @return A new record, delivered when its last holder lets it go.
  virtual std::shared_ptr<IStreamOperator> Stream(const int& level) = 0;
};

/// Chaining on the shared pointer: `op << "a" << str << std::endl`.
/// @param op The record.
/// @param manipulator The manipulator.
/// @return `op`.
/// @onethread
/// @ingroup diagnostics
LOGMANAGER_API std::shared_ptr<IStreamOperator> operator<<(
    const std::shared_ptr<IStreamOperator>& op, std::ostream& (*manipulator)(std::ostream&));
/// Appends a text piece to the record.
/// @param op The record.
/// @param text Zero-terminated text (copied).
/// @return `op`.
/// @onethread
/// @ingroup diagnostics
LOGMANAGER_API std::shared_ptr<IStreamOperator> operator<<(
    const std::shared_ptr<IStreamOperator>& op, const char* text);
/// Appends a text piece to the record.
/// @param op The record.
/// @param text The text (copied).
/// @return `op`.
/// @onethread
/// @ingroup diagnostics
LOGMANAGER_API std::shared_ptr<IStreamOperator> operator<<(
    const std::shared_ptr<IStreamOperator>& op, const std::string& text);

/// Where finished records go: (level, whole record text, line feeds
/// included).
/// @ingroup diagnostics
using Sink = std::function<void(int level, const std::string& record)>;

/// Replaces the sink, e.g. to capture records in a test.
/// @param sink The new sink (kept); an empty function restores the default.
/// @return The previous sink (empty for the default).
/// @onethread
/// @ingroup diagnostics
LOGMANAGER_API Sink SetSink(Sink sink);
/// Restores the default standard-error sink.
/// @onethread
/// @ingroup diagnostics
LOGMANAGER_API void ResetSink();

}  // namespace Log

#endif  // LOGMANAGER_LOG_H
