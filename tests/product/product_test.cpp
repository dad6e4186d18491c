// kthost and ktprefs run as separate processes, as a user runs them.
#include <sys/wait.h>

#include <boost/filesystem.hpp>
#include <cstdlib>
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
       "loaded libexample_greeter.so (plug-in interface 1)", "loaded libexample_welcome.so",
       "2 loaded, 0 refused, 0 failed", "\nRegistrations", "libexample_greeter.so",
       "singleton Example.GreetingService", "named object Example.Greeter.Info",
       "startup factory #1", "libexample_welcome.so", "component Example.WelcomeCard",
       "startup factory #2", "\nStartup", "greeter: Init: salutation \"Howdy\"", "Howdy, world!",
       "owned by system Example.WelcomeCard",
       // Term() for every singleton first, then owned objects as registered.
       "\nShutdown", "greeter: Term: made 2 greetings", "greeter: GreetingService destroyed",
       "welcome: WelcomeCard #2 destroyed", "system exited"}));
}

TEST_F(ProductTest, BadModulesAreReportedAndTheOthersStillLoad) {
  const struct {
    std::string module;  // empty: a text file named "notes.so"
    std::string outcome;
  } cases[] = {
      {"kttest_wrong_version", "refused %: built for plug-in interface 99, this host needs 1"},
      {"kttest_throws", "failed %: KtPluginEntry() threw: no licence for this plug-in"},
      {"kttest_no_entry", "failed %: has no KtPluginEntry() of its own"},
      // Its entry comes from a library it links to: never called.
      {"kttest_inherits",
       "failed %: has no KtPluginEntry() of its own (the one it sees comes "
       "from a library it links to)"},
      {"", "failed %: cannot be loaded: "},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.module);
    const std::string folder =
        Plugins(c.module.empty() ? Args{kGreeter} : Args{kGreeter, TestPlugin(c.module)});
    const std::string bad = c.module.empty() ? writeFile("plugins/notes.so", "not a module\n")
                                             : folder + "/lib" + c.module + ".so";
    const Result run = Host({"--plugins", folder});
    EXPECT_EQ(0, run.status) << run.out << run.err;
    EXPECT_TRUE(InOrder(run.out, {std::regex_replace(c.outcome, std::regex("%"), bad), "1 loaded",
                                  "greeter: startup:"}));
    EXPECT_EQ(std::string::npos, run.out.find("ENTERED"));
    if (c.module == "kttest_throws") {
      EXPECT_TRUE(InOrder(run.out, {"component Test.BeforeThrow"}));
    }
    EXPECT_EQ(1, Host({"--plugins", folder, "--strict"}).status);
  }
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
  EXPECT_TRUE(InOrder(Host({"--help"}).out, {"--plugins DIR", "--strict", "--version"}));
  EXPECT_EQ("kthost " PROJECT_VERSION_TEXT " (plug-in interface 1)\n", Host({"--version"}).out);
  for (const Args& bad : {Args{"--bogus"}, Args{"--plugins"}, Args{"extra"}}) {
    const Result run = Host(bad);
    EXPECT_EQ(2, run.status);
    EXPECT_TRUE(std::regex_match(run.err, std::regex("kthost: [^\n]+\n"))) << run.err;
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
