// kthost and ktprefs run as separate processes, as a user runs them.
#include <sys/wait.h>

#include <boost/filesystem.hpp>
#include <cstdlib>
#include <optional>
#include <regex>
#include <string>
#include <vector>

#include "test_support.h"

namespace fs = boost::filesystem;

namespace {

using Args = std::vector<std::string>;

struct Result {
  int status;
  std::string out;  // spaces squeezed, so tests do not depend on alignment
  std::string err;
};

std::string Quote(const std::string& text) {
  return "'" + std::regex_replace(text, std::regex("'"), "'\\''") + "'";
}

std::string TestPlugin(const std::string& name) {
  return std::string(TEST_PLUGIN_DIR) + "/lib" + name + ".so";
}
std::string Fixture(const std::string& kind) {
  return std::string(MODULE_FIXTURES) + "/lib" + kind + ".so";
}
const std::string kGreeter = std::string(EXAMPLE_PLUGIN_DIR) + "/libexample_greeter.so";

// Whether `needles` occur in `text` in this order.
testing::AssertionResult InOrder(const std::string& text, const Args& needles) {
  std::size_t at = 0;
  for (const std::string& needle : needles) {
    at = text.find(needle, at);
    if (at == std::string::npos)
      return testing::AssertionFailure() << "'" << needle << "' missing (in order) in:\n" << text;
    at += needle.size();
  }
  return testing::AssertionSuccess();
}

class ProductTest : public kttest::TempDirTest {
 protected:
  Result Run(const std::string& program, const Args& args) {
    std::string command = Quote(program);
    for (const std::string& arg : args) command += " " + Quote(arg);
    const std::string out = path("stdout.txt"), err = path("stderr.txt");
    const int raw = std::system((command + " >" + Quote(out) + " 2>" + Quote(err)).c_str());
    return {WIFEXITED(raw) ? WEXITSTATUS(raw) : -1,
            std::regex_replace(readFile(out).value_or(""), std::regex(" +"), " "),
            readFile(err).value_or("")};
  }
  Result Host(const Args& args) { return Run(KTHOST, args); }
  Result Prefs(Args args) {
    args.insert(args.begin(), m_files.begin(), m_files.end());
    return Run(KTPREFS, args);
  }
  // A fresh plug-in folder with copies of `modules`.
  std::string Plugins(const Args& modules) {
    fs::remove_all(path("plugins"));
    fs::create_directories(path("plugins"));
    for (const std::string& module : modules)
      fs::copy_file(module, fs::path(path("plugins")) / fs::path(module).filename());
    return path("plugins");
  }

  Args m_files;  // file options given to every ktprefs run
};

TEST_F(ProductTest, HostLoadsTheExamplePluginsAndReportsEachStep) {
  const std::string site =
      writeFile("site.prefs", "Greeter.Salutation=Howdy\nPlugins.Path=<ROOT_DIR>/plugins\n");
  const Result run = Host({"--site", site, "--strict"});
  ASSERT_EQ(0, run.status) << run.out << run.err;
  EXPECT_TRUE(InOrder(
      run.out,
      {std::string("folder ") + BUILD_ROOT + "/plugins (preference Plugins.Path, tokens expanded)",
       "scan 2 modules in ", "module libexample_greeter.so",
       std::string("record plug-in interface 1, ktbase ") + PROJECT_VERSION_TEXT, "verdict good",
       "loaded plug-in interface 1", "module libexample_welcome.so", "summary 2 loaded\n",
       "\nRegistrations", "libexample_greeter.so", "singleton Example.GreetingService",
       "named object Example.Greeter.Info", "startup factory #1", "libexample_welcome.so",
       "component Example.WelcomeCard", "startup factory #2", "\nStartup",
       "greeter: Init: salutation \"Howdy\"", "Howdy, world!",
       "owned by system Example.WelcomeCard",
       // Term() for every singleton first, then owned objects as registered.
       "\nShutdown", "greeter: Term: made 2 greetings", "greeter: GreetingService destroyed",
       "welcome: WelcomeCard #2 destroyed", "system exited"}));
}

// Bad modules are judged in the probe and never loaded here; the second start
// takes every verdict from the cache and loads only the good module.
TEST_F(ProductTest, BadModulesAreProbedOnceAndNeverLoaded) {
  kttest::ScopedEnv log("KTTEST_LOAD_LOG", path("load.log"));
  // The faults must reach the probe as they would without sanitizers.
  const char* asan = std::getenv("ASAN_OPTIONS");
  kttest::ScopedEnv sanitizer("ASAN_OPTIONS", std::string(asan ? asan : "") +
                                                  ":handle_segv=0:handle_abort=0:detect_leaks=0");
  const std::string folder =
      Plugins({Fixture("good"), Fixture("segv"), Fixture("exit"), Fixture("throws"),
               Fixture("other_version"), TestPlugin("kttest_inherits")});
  writeFile("plugins/notes.so", "not a module\n");
  const Args run = {"--plugins", folder, "--probe-timeout", "5"};
  Result first = Host(run);
  EXPECT_EQ(0, first.status) << first.out << first.err;
  EXPECT_TRUE(InOrder(
      first.out,
      {"scan 7 modules in ",
       ": 5 probed, 0 from the cache",
       "module libexit.so",
       "verdict crashed (probed now): exited with status 0 while loading (static constructors)",
       "module libgood.so",
       std::string("record plug-in interface 1, ktbase ") + PROJECT_VERSION_TEXT +
           ", \"Good test plug-in\" 0123ABCD-EF01-2345-6789-ABCDEF012345",
       "verdict good (probed now)",
       "loaded plug-in interface 1",
       "module libkttest_inherits.so",
       "record none (built before plug-in records)",
       "verdict failed (probed now): has no KtPluginEntry() of its own (the one it sees comes",
       "module libother_version.so",
       "verdict refused (from the file): its record says plug-in interface 99, this host needs 1",
       "module libsegv.so",
       "verdict crashed (probed now): killed by SIGSEGV",
       "module libthrows.so",
       "verdict failed (probed now): KtPluginEntry() threw: no licence",
       "module notes.so",
       "record none\n",
       "verdict invalid (from the file): not an ELF file",
       "summary 1 loaded, 1 refused, 1 invalid, 2 failed, 2 crashed"}));
  EXPECT_EQ(readFile(path("load.log")), "exit\ngood\nsegv\nthrows\ngood\ngood started\n");
  EXPECT_FALSE(fs::exists(path("tmp/Norvex/Tessel/plugins-interface-1.cache.loading")));
  EXPECT_EQ(1, Host({"--plugins", folder, "--strict"}).status);

  fs::remove(path("load.log"));
  const Result second = Host({"--plugins", folder, "--json"});
  EXPECT_EQ(0, second.status) << second.err;
  EXPECT_EQ(readFile(path("load.log")), "good\ngood started\n");  // no probe, no bad module
  EXPECT_TRUE(InOrder(second.out, {"\"probes\": 0, \"cached\": 7,", "\"plugins\": [\n",
                                   "{\"path\": \"" + folder + "/libexit.so\", \"record\": {",
                                   "\"verdict\": \"crashed\", \"reason\": \"exited with status 0",
                                   "\"source\": \"cache\", \"load\": \"not loaded\"",
                                   "\"name\": \"Good test plug-in\"", "\"load\": \"loaded\"",
                                   "\"record\": null", "\n]}\n"}));

  // One module forgotten, then all: each is probed again.
  EXPECT_TRUE(InOrder(Host({"--plugins", folder, "--forget", folder + "/libsegv.so"}).out,
                      {"forget forgot " + folder + "/libsegv.so", "1 probed, 6 from the cache",
                       "verdict crashed (probed now): killed by SIGSEGV"}));
  EXPECT_TRUE(InOrder(Host({"--plugins", folder, "--rescan"}).out, {"5 probed, 0 from the cache"}));
}

// A module that passes the probe but kills the host is blocked at the next
// start, until the user forgets it.
TEST_F(ProductTest, HostThatDiedLoadingAModuleBlocksItNextTime) {
  const std::string folder = Plugins({Fixture("good"), HOST_CRASH_PLUGIN});
  const Result crash = Host({"--plugins", folder});
  EXPECT_NE(0, crash.status);
  EXPECT_TRUE(InOrder(crash.out, {"module libhost_crash.so", "verdict good (probed now)"}));
  for (int start = 0; start < 2; ++start) {
    const Result next = Host({"--plugins", folder});
    EXPECT_EQ(0, next.status) << next.out << next.err;
    EXPECT_TRUE(InOrder(
        next.out,
        {start == 0 ? "blocked " + folder + "/libhost_crash.so: the host died" : "scan 2 modules",
         "module libhost_crash.so",
         "verdict host-crashed (from the cache): the host died while loading it",
         "summary 1 loaded, 1 host-crashed"}));
  }
  EXPECT_NE(0, Host({"--plugins", folder, "--forget", folder + "/libhost_crash.so"}).status);
}

// A module loaded twice through a link, a file name that is not UTF-8 and a
// cache that cannot be written, in the report and in the JSON.
TEST_F(ProductTest, HostReportsLinksOddNamesAndAnUnwritableCache) {
  const std::string folder = Plugins({Fixture("good")});
  fs::create_symlink(folder + "/libgood.so", folder + "/libgood_link.so");
  writeFile("plugins/odd\xe0\x80\x1f.so", "text");
  const std::string cache = path("tmp/Norvex/Tessel/plugins-interface-1.cache");
  fs::create_directories(cache);
  EXPECT_TRUE(InOrder(Host({"--plugins", folder}).out,
                      {"cache error cannot write the cache " + cache + ": Is a directory",
                       "module libgood_link.so", "skipped same module as " + folder + "/libgood.so",
                       "summary 1 loaded, 1 skipped, 1 invalid\n"}));
  const std::string json = Host({"--plugins", folder, "--json"}).out;
  EXPECT_TRUE(InOrder(json, {"\"cacheError\": \"cannot write the cache ",
                             "{\"path\": \"" + folder + "/odd\\ufffd\\ufffd\\u001f.so\""}));
  EXPECT_EQ(std::regex_replace(json, std::regex("[^{]"), ""), "{{{{{{");  // 3 modules, 2 records
}

TEST_F(ProductTest, PluginFolderProblemsAreReported) {
  const struct {
    std::string folder, message;
    int strictStatus;
  } cases[] = {
      {path("nowhere"), "plug-in folder " + path("nowhere") + " does not exist", 1},
      {writeFile("file", "x"), "plug-in folder " + path("file") + " is not a folder", 1},
      {Plugins({}), "none (no file ending in .so)", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.folder);
    const Result run = Host({"--plugins", c.folder});
    EXPECT_EQ(0, run.status);
    EXPECT_TRUE(InOrder(run.out, {c.message, "system exited"}));
    EXPECT_EQ(c.strictStatus, Host({"--plugins", c.folder, "--strict"}).status);
  }
}

TEST_F(ProductTest, HostCommandLine) {
  EXPECT_TRUE(
      InOrder(Host({"--help"}).out, {"--plugins DIR", "--strict", "--rescan", "--forget FILE",
                                     "--probe-timeout SECONDS", "--json", "--version"}));
  EXPECT_EQ("kthost " PROJECT_VERSION_TEXT " (plug-in interface 1)\n", Host({"--version"}).out);
  const std::pair<Args, std::string> bad[] = {
      {{"--bogus"}, "unknown option --bogus"},
      {{"--plugins"}, "option --plugins needs a value"},
      {{"extra"}, "unexpected argument extra"},
      {{"--probe-timeout", "0"}, "option --probe-timeout needs a number of seconds"},
      {{"--probe-timeout=1x"}, "option --probe-timeout needs a number of seconds"}};
  for (const auto& c : bad) {
    const Result run = Host(c.first);
    EXPECT_EQ(2, run.status);
    EXPECT_TRUE(std::regex_match(run.err, std::regex("kthost: " + c.second + "[^\n]+\n")))
        << run.err;
  }
}

const std::string kSite =
    "Cache.Path=<ROOT_DIR>/cache\nColor=blue\nRender.Threads=4\nSearch=a;b;;c\n";
const std::string kUser = "  Color =  red  \nFlag=1\n";  // not in the form a save writes

TEST_F(ProductTest, PrefsReadingCommandsShowWhatProgramsSeeAndWriteNothing) {
  const std::string site = writeFile("site.prefs", kSite), user = writeFile("user.prefs", kUser);
  m_files = {"--site", site, "--user", user};
  const struct {
    Args args;
    std::string out;
    int status;
  } cases[] = {
      {{"get", "Color"}, "red\n", 0},
      {{"get", "Search", "--type", "list", "--separator", ";"}, "a\nb\n\nc\n", 0},
      {{"get", "Cache.Path"}, BUILD_ROOT "/cache\n", 0},
      {{"get", "Missing"}, "", 1},
      {{"list", "--scope", "user"}, "[user] " + user + "\nColor=red\nFlag=1\n", 0},
      {{"list", "--scope", "project"}, "[project] no file (use --project FILE)\n", 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args[0] + " " + c.args[1]);
    const Result run = Prefs(c.args);
    EXPECT_EQ(c.status, run.status) << run.err;
    EXPECT_EQ(c.out, run.out);
  }
  EXPECT_TRUE(InOrder(Prefs({"get", "Cache.Path", "--explain"}).out,
                      {"user not set (in " + user + ")", "project no file",
                       "site \"<ROOT_DIR>/cache\" (in " + site + ") <- wins",
                       "expansion yes: the key ends in \".Path\"",
                       std::string("value \"") + BUILD_ROOT + "/cache\""}));
  EXPECT_TRUE(InOrder(Prefs({"get", "Color", "--explain"}).out,
                      {"user \"red\"", "<- wins", "site \"blue\"", "expansion no"}));
  EXPECT_EQ(kSite, readFile(site));
  EXPECT_EQ(kUser, readFile(user));
}

TEST_F(ProductTest, PrefsSetAndRemoveRewriteOnlyTheirScopesFile) {
  const std::string site = writeFile("site.prefs", kSite), user = path("user.prefs");
  m_files = {"--site", site, "--user", user};
  ASSERT_EQ(0, Prefs({"set", "Render.Threads", "8", "--scope", "user", "--type", "int"}).status);
  EXPECT_EQ("Render.Threads=8\n", readFile(user));
  ASSERT_EQ(0, Prefs({"set", "Units", "cm", "--scope", "site"}).status);
  EXPECT_EQ(kSite + "Units=cm\n", readFile(site));

  // Blanked in the first scope that holds it; the blank hides the site value.
  ASSERT_EQ(0, Prefs({"remove", "Render.Threads"}).status);
  EXPECT_EQ("Render.Threads=\n", readFile(user));
  EXPECT_EQ("\n", Prefs({"get", "Render.Threads"}).out);
  EXPECT_EQ("4\n", Prefs({"get", "Render.Threads", "--site-only"}).out);
  EXPECT_EQ(1, Prefs({"get", "Render.Threads", "--type", "int"}).status);
  EXPECT_EQ(kSite + "Units=cm\n", readFile(site));
}

TEST_F(ProductTest, PrefsErrorsAreOneLineAndNonZero) {
  const std::string site = writeFile("site.prefs", kSite);
  fs::create_directories(path("folder"));
  m_files = {"--site", site, "--user", writeFile("user.prefs", "")};
  const struct {
    Args args;
    int status;
  } cases[] = {
      {{}, 2},
      {{"frob"}, 2},
      {{"get"}, 2},
      {{"--bogus", "list"}, 2},
      {{"get", "K", "--type", "complex"}, 2},
      {{"list", "--explain"}, 2},
      {{"set", "K", "v"}, 2},
      {{"set", "K=x", "v", "--scope", "user"}, 2},
      {{"set", "K", "notanint", "--scope", "user", "--type", "int"}, 2},
      {{"set", "K", "v", "--scope", "project"}, 2},
      {{"set", "K", "v", "--scope", "user", "--user", path("missing/u.prefs")}, 1},
      {{"set", "K", "v", "--scope", "site", "--site", path("folder")}, 2},
      {{"remove", "Nope"}, 1},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.args));
    const Result run = Prefs(c.args);
    EXPECT_EQ(c.status, run.status);
    EXPECT_EQ("", run.out);
    EXPECT_TRUE(std::regex_match(run.err, std::regex("ktprefs: [^\n]+\n"))) << run.err;
  }
  EXPECT_EQ(kSite, readFile(site));
}

}  // namespace
