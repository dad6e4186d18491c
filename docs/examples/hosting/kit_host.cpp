// A host of its own built on the plug-in host kit: scan a folder, load what
// the kit judged good, run the startup functions, end the system.
#include <ktbase/ktbase.h>
#include <ktbase/ktpluginhost.h>

#include <cstdio>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  qrn::ISystem* system = qrnInitSystem(false, argc, argv);
  ktpluginhost::PluginHost host;
  for (const ktpluginhost::PluginInfo& plugin : host.Scan(argv[1]).plugins) {
    const bool loaded = plugin.verdict == ktpluginhost::Verdict::kGood &&
                        host.Load(plugin, system).outcome == ktpluginhost::LoadResult::kLoaded;
    std::printf("%s %s%s\n", ktpluginhost::VerdictName(plugin.verdict), plugin.path.c_str(),
                loaded ? " loaded" : "");
  }
  system->RunStartupFactories();
  qrnExitSystem();
  return 0;
}
