"""The example of the Python guide: the preferences and identifiers C++
programs see, through the library itself."""
import ktbase
from ktbase import Prefs, Scope

with Prefs() as prefs:  # the files C++ programs read
    prefs.load()  # user, project and site
    plugins = prefs.get("Plugins.Path", "")  # <ROOT_DIR> expanded
    threads = prefs.get("Render.Threads", 4)  # an int, as the default is
    prefs.set("Render.Threads", threads * 2, Scope.USER)
print(plugins, threads, ktbase.UID("0123abcd-ef01-2345-6789-abcdef012345"))
# leaving the block saved the user scope, as the C++ manager's destructor does
