#include <logmanager/log.h>
#include <spdlog/sinks/stdout_sinks.h>
#include <spdlog/spdlog.h>

#include <sstream>
#include <utility>

namespace Log {

namespace {

spdlog::level::level_enum ToSpdLevel(int level) {
  if (level <= 0) return spdlog::level::info;
  if (level == 1) return spdlog::level::warn;
  if (level == 2) return spdlog::level::err;
  return spdlog::level::critical;
}

// The default sink: one spdlog logger on standard error, flushed
// after every record so nothing is lost if the host crashes afterwards.
void DefaultSink(int level, const std::string& record) {
  // Leaked on purpose: records sent from static destructors still arrive.
  static spdlog::logger* logger = [] {
    auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
    auto* l = new spdlog::logger("logmanager", sink);
    l->set_pattern("[%l] %v");
    l->set_level(spdlog::level::trace);
    l->flush_on(spdlog::level::trace);
    return l;
  }();
  // spdlog ends each message itself: drop the record's final line feed.
  std::string text = record;
  if (!text.empty() && text.back() == '\n') text.pop_back();
  logger->log(ToSpdLevel(level), "{}", text);
}

Sink& CurrentSink() {
  static Sink* sink = new Sink();  // leaked for the same reason
  return *sink;
}

void Deliver(int level, const std::string& record) {
  Sink& sink = CurrentSink();
  if (sink)
    sink(level, record);
  else
    DefaultSink(level, record);
}

class StreamOperator final : public IStreamOperator {
 public:
  explicit StreamOperator(int level) : m_level(level) {}
  ~StreamOperator() override {
    // A destructor must not throw: a failing sink loses the record.
    try {
      Deliver(m_level, m_text.str());
    } catch (...) {
    }
  }

  std::shared_ptr<IStreamOperator> operator<<(const char* text) override {
    if (text != nullptr) m_text << text;
    return shared_from_this();
  }
  std::shared_ptr<IStreamOperator> operator<<(const std::string& text) override {
    m_text << text;
    return shared_from_this();
  }
  std::shared_ptr<IStreamOperator> Apply(std::ostream& (*manipulator)(std::ostream&)) override {
    if (manipulator != nullptr) manipulator(m_text);
    return shared_from_this();
  }

 private:
  int m_level;
  std::ostringstream m_text;
};

class LogSingleton final : public Singleton {
 public:
  bool IsEnabled(const int&) override { return true; }
  std::shared_ptr<IStreamOperator> Stream(const int& level) override {
    return std::make_shared<StreamOperator>(level);
  }
};

}  // namespace

IStreamOperator::~IStreamOperator() = default;
Singleton::~Singleton() = default;

Singleton* Singleton::Instance() {
  static LogSingleton* instance = new LogSingleton();  // never destroyed
  return instance;
}

std::shared_ptr<IStreamOperator> operator<<(const std::shared_ptr<IStreamOperator>& op,
                                            std::ostream& (*manipulator)(std::ostream&)) {
  return op->Apply(manipulator);
}

std::shared_ptr<IStreamOperator> operator<<(const std::shared_ptr<IStreamOperator>& op,
                                            const char* text) {
  return (*op) << text;
}

std::shared_ptr<IStreamOperator> operator<<(const std::shared_ptr<IStreamOperator>& op,
                                            const std::string& text) {
  return (*op) << text;
}

Sink SetSink(Sink sink) {
  Sink previous = std::move(CurrentSink());
  CurrentSink() = std::move(sink);
  return previous;
}

void ResetSink() { CurrentSink() = Sink(); }

}  // namespace Log
