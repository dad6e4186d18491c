// The service the greeter plug-in offers and the welcome plug-in uses. The two
// modules never link to each other: they share only this header, and the
// service is found at run time by its registered name.
#ifndef KTBASE_EXAMPLES_GREETING_SERVICE_H
#define KTBASE_EXAMPLES_GREETING_SERVICE_H

#include <ktbase/ktplugin.h>

#include <string>

namespace example {

// Name under which the greeter registers its singleton; also its class name.
constexpr const char* kGreetingServiceName = "Example.GreetingService";

class KTPLUGIN_API IGreetingService {
 public:
  virtual ~IGreetingService() = default;
  // "<salutation>, <who>!"; counts the greetings made.
  virtual std::string Greet(const std::string& who) = 0;
  virtual int GreetingCount() const = 0;
};

}  // namespace example

#endif  // KTBASE_EXAMPLES_GREETING_SERVICE_H
