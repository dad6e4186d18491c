// A host of someone else's, built against the installed host kit: the lines
// the README shows a host writing.
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
