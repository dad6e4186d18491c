// The Python module `ktbase`: preferences, identifiers, installation paths and
// the search path for pipeline tools. Every answer comes from libktbase.so
// itself, so Python and C++ programs read the same values by the same rules;
// this unit only converts arguments and errors.
//
// Text crosses as the file system encodes it (UTF-8, undecodable bytes as
// surrogates, as os.fsdecode does), so any byte a preference file holds
// survives a get and a set. Calls hold the GIL: the library is
// single-threaded, and the GIL serialises its callers.

// clang-format off
#include <pybind11/pybind11.h>  // first: Python.h precedes every standard header
// clang-format on

#include <ktbase/ktappdatapath.h>
#include <ktbase/ktpaths.h>
#include <ktbase/ktprefmanager.h>
#include <ktbase/ktsearchpath.h>
#include <ktbase/ktuid.h>

#include <boost/filesystem/exception.hpp>
#include <cctype>
#include <cfloat>
#include <climits>
#include <cmath>
#include <memory>
#include <string>
#include <vector>

namespace py = pybind11;

namespace {

using Scope = IKTPrefManager::EPrefType;

py::str Decode(const std::string& bytes) {
  PyObject* text =
      PyUnicode_DecodeFSDefaultAndSize(bytes.data(), static_cast<Py_ssize_t>(bytes.size()));
  if (text == nullptr) throw py::error_already_set();
  return py::reinterpret_steal<py::str>(text);
}

[[noreturn]] void Fail(PyObject* type, const std::string& message) {
  PyErr_SetString(type, message.c_str());
  throw py::error_already_set();
}

std::string TypeName(py::handle value) { return Py_TYPE(value.ptr())->tp_name; }

// A str argument as bytes. Refuses a zero byte: the file format and the
// library's C strings cannot carry it.
std::string Encode(py::handle text, const char* what) {
  if (!PyUnicode_Check(text.ptr()))
    Fail(PyExc_TypeError, std::string(what) + " must be str, not " + TypeName(text));
  auto bytes = py::reinterpret_steal<py::bytes>(PyUnicode_EncodeFSDefault(text.ptr()));
  if (!bytes) throw py::error_already_set();
  std::string out = bytes;
  if (out.find('\0') != std::string::npos)
    Fail(PyExc_ValueError, std::string(what) + ": embedded null character");
  return out;
}

// A path argument: str, bytes or os.PathLike, not empty.
std::string PathArg(py::handle path, const char* what) {
  auto native = py::reinterpret_steal<py::object>(PyOS_FSPath(path.ptr()));
  PyObject* converted = nullptr;
  if (!native || PyUnicode_FSConverter(native.ptr(), &converted) == 0)
    throw py::error_already_set();  // TypeError, or ValueError for a zero byte
  std::string out = py::reinterpret_steal<py::bytes>(converted);
  if (out.empty()) Fail(PyExc_ValueError, std::string(what) + ": empty path");
  return out;
}

// The list separator: one ASCII character (the library takes one byte).
char Separator(py::handle sep) {
  if (sep.is_none()) Fail(PyExc_TypeError, "a list needs sep=, its one-character separator");
  const std::string text = Encode(sep, "sep");
  if (text.size() != 1 || static_cast<unsigned char>(text[0]) > 127)
    Fail(PyExc_ValueError,
         "sep must be one ASCII character, not " + py::repr(sep).cast<std::string>());
  return text[0];
}

std::vector<std::string> Elements(py::handle list, char sep, bool refuseSep) {
  std::vector<std::string> out;
  for (py::handle item : py::reinterpret_borrow<py::list>(list)) {
    out.push_back(Encode(item, "list element"));
    // Set only: the library does not escape, so the element would come back split.
    if (refuseSep && out.back().find(sep) != std::string::npos)
      Fail(PyExc_ValueError, "list element " + py::repr(item).cast<std::string>() +
                                 " holds the separator " + std::string(1, sep));
  }
  return out;
}

int IntArg(py::handle value) {
  int overflow = 0;
  const long long number = PyLong_AsLongLongAndOverflow(value.ptr(), &overflow);
  if (number == -1 && PyErr_Occurred()) throw py::error_already_set();
  if (overflow != 0 || number < INT_MIN || number > INT_MAX)
    Fail(PyExc_OverflowError,
         py::repr(value).cast<std::string>() + " does not fit a C int (-2147483648 to 2147483647)");
  return static_cast<int>(number);
}

// A C float; a finite value beyond its range is refused rather than turned
// into infinity.
float FloatArg(py::handle value) {
  const double number = PyFloat_AsDouble(value.ptr());
  if (std::isfinite(number) && std::fabs(number) > FLT_MAX)
    Fail(PyExc_OverflowError, py::repr(value).cast<std::string>() + " does not fit a C float");
  return static_cast<float>(number);
}

// What `type` may name: the three scopes, and ePrefAll where `all` allows it.
Scope ScopeArg(Scope type, bool all) {
  if (type == IKTPrefManager::ePrefUser || type == IKTPrefManager::ePrefProject ||
      type == IKTPrefManager::ePrefSite || (all && type == IKTPrefManager::ePrefAll))
    return type;
  Fail(PyExc_ValueError, std::string(all ? "scope must be USER, PROJECT, SITE or ALL"
                                         : "set() writes one scope: USER, PROJECT or SITE") +
                             ", not " + std::to_string(static_cast<int>(type)));
}

// OSError (the subclass its errno selects) with errno, message and the paths.
void RaiseOSError(int error, const std::string& message, const std::string& path1,
                  const std::string& path2) {
  py::object filename2 = path2.empty() ? py::object(py::none()) : py::object(Decode(path2));
  py::object exception = py::reinterpret_borrow<py::object>(PyExc_OSError)(
      error, message, Decode(path1), py::none(), filename2);
  PyErr_SetObject(reinterpret_cast<PyObject*>(Py_TYPE(exception.ptr())), exception.ptr());
}

// A preference manager the Python object owns until close().
class Prefs {
 public:
  Prefs(py::object user, py::object project, py::object site, bool writable)
      : m_writable(writable) {
    const py::handle paths[] = {user, project, site};
    std::string files[3];
    for (int scope = 0; scope < 3; ++scope) {
      static const char* const kNames[] = {"user", "project", "site"};
      if (!paths[scope].is_none()) files[scope] = PathArg(paths[scope], kNames[scope]);
    }
    m_manager.reset(IKTPrefManager::Create());
    m_manager->Writable(writable);
    // The user file first: the manager ignores a project or site file equal
    // to the user file it has at that moment.
    for (int scope = 0; scope < 3; ++scope)
      if (!files[scope].empty()) m_manager->Configure(files[scope], static_cast<Scope>(scope));
  }

  IKTPrefManager& Manager() {
    if (!m_manager) Fail(PyExc_ValueError, "operation on closed Prefs");
    return *m_manager;
  }

  void Load(Scope scope) {
    IKTPrefManager& prefs = Manager();
    if (ScopeArg(scope, true) != IKTPrefManager::ePrefAll) {
      prefs.LoadFromDisk(scope);
      return;
    }
    // The library loads one scope per call.
    for (Scope one :
         {IKTPrefManager::ePrefUser, IKTPrefManager::ePrefProject, IKTPrefManager::ePrefSite})
      prefs.LoadFromDisk(one);
  }

  void Save(Scope scope) {
    // The library only reports a file not saved whole (a failed write, sync
    // or rename; its old text then stays), naming the file in its error record.
    if (Manager().SaveToDisk(ScopeArg(scope, true)))
      Fail(PyExc_OSError, "preferences written short (see the error record for the file)");
  }

  // As the C++ destructor: saves the user scope unless read-only. Releases
  // the manager first, so a failed save cannot leave a half-closed object.
  void Close() {
    if (!m_manager) return;
    std::unique_ptr<IKTPrefManager> manager = std::move(m_manager);
    const bool shortWrite = m_writable && manager->SaveToDisk(IKTPrefManager::ePrefUser);
    manager->Writable(false);  // no second save from the destructor
    manager.reset();
    if (shortWrite) Fail(PyExc_OSError, "user preferences written short");
  }

  py::object Get(py::object key, py::object fallback, bool siteOnly, py::object sep) {
    IKTPrefManager& prefs = Manager();
    const std::string name = Encode(key, "key");
    if (PyList_Check(fallback.ptr())) {
      const char separator = Separator(sep);
      std::vector<std::string> values;
      prefs.GetPref(name, separator, Elements(fallback, separator, false), values, siteOnly);
      py::list out;
      for (const std::string& value : values) out.append(Decode(value));
      return py::object(std::move(out));  // a move under every compiler's rules
    }
    if (!sep.is_none()) Fail(PyExc_TypeError, "sep= applies to a list default only");
    if (PyBool_Check(fallback.ptr())) {  // before int: bool is an int
      bool value = false;
      return py::bool_(prefs.GetPref(name, fallback.ptr() == Py_True, value, siteOnly));
    }
    if (PyLong_Check(fallback.ptr())) {
      int value = 0;
      return py::int_(prefs.GetPref(name, IntArg(fallback), value, siteOnly));
    }
    if (PyFloat_Check(fallback.ptr())) {
      float value = 0;
      return py::float_(prefs.GetPref(name, FloatArg(fallback), value, siteOnly));
    }
    if (PyUnicode_Check(fallback.ptr())) {
      std::string value;
      return Decode(prefs.GetPref(name, Encode(fallback, "default"), value, siteOnly));
    }
    Fail(PyExc_TypeError,
         "default must be str, int, float, bool or list, not " + TypeName(fallback));
  }

  void Set(py::object key, py::object value, Scope scope, py::object sep) {
    IKTPrefManager& prefs = Manager();
    const std::string name = Encode(key, "key");
    ScopeArg(scope, false);
    if (PyList_Check(value.ptr())) {
      const char separator = Separator(sep);
      prefs.SetPref(name, Elements(value, separator, true), separator, scope);
      return;
    }
    if (!sep.is_none()) Fail(PyExc_TypeError, "sep= applies to a list value only");
    if (PyBool_Check(value.ptr()))
      prefs.SetPref(name, value.ptr() == Py_True, scope);
    else if (PyLong_Check(value.ptr()))
      prefs.SetPref(name, IntArg(value), scope);
    else if (PyFloat_Check(value.ptr()))
      prefs.SetPref(name, FloatArg(value), scope);
    else if (PyUnicode_Check(value.ptr()))
      prefs.SetPref(name, Encode(value, "value"), scope);
    else
      Fail(PyExc_TypeError, "value must be str, int, float, bool or list, not " + TypeName(value));
  }

 private:
  std::unique_ptr<IKTPrefManager> m_manager;
  bool m_writable;
};

// Why `text` is no identifier, for the ValueError. Only called once the
// library's IsUID has refused it.
std::string UidProblem(const py::str& text) {
  const Py_ssize_t length = PyUnicode_GET_LENGTH(text.ptr());
  for (Py_ssize_t at = 0; at < length && at < 36; ++at) {
    const Py_UCS4 c = PyUnicode_READ_CHAR(text.ptr(), at);
    const bool hyphen = at == 8 || at == 13 || at == 18 || at == 23;
    const bool ok = hyphen ? c == '-' : c < 128 && std::isxdigit(static_cast<int>(c));
    if (!ok) {
      const py::str found =
          py::reinterpret_steal<py::str>(PyUnicode_Substring(text.ptr(), at, at + 1));
      return std::string(hyphen ? "'-'" : "a hexadecimal digit") + " expected at position " +
             std::to_string(at) + ", found " + py::repr(found).cast<std::string>();
    }
  }
  return "36 characters expected (8-4-4-4-12 hexadecimal digits), found " + std::to_string(length);
}

KtUID ParseUid(const py::object& text) {
  if (!PyUnicode_Check(text.ptr()))
    Fail(PyExc_TypeError, "UID text must be str, not " + TypeName(text));
  const py::str str = py::reinterpret_borrow<py::str>(text);
  // A zero byte would end the C string early; the library never sees it.
  PyObject* utf8 = PyUnicode_AsEncodedString(text.ptr(), "utf-8", "replace");
  if (utf8 == nullptr) throw py::error_already_set();
  const std::string bytes = py::reinterpret_steal<py::bytes>(utf8);
  if (bytes.find('\0') == std::string::npos && KtUID::IsUID(bytes.c_str()))
    return KtUID(bytes.c_str(), true);
  Fail(PyExc_ValueError,
       "invalid UID " + py::repr(text).cast<std::string>() + ": " + UidProblem(str));
}

std::string UidText(const KtUID& uid) {
  char text[37];
  uid.GetStr(text);
  return text;
}

}  // namespace

PYBIND11_MODULE(ktbase, m) {
  m.doc() =
      "ktbase: the preferences, identifiers and paths of libktbase.so, read and\n"
      "changed through the library itself.";
  m.attr("__version__") = KTBASE_VERSION_STRING;

  py::register_exception_translator([](std::exception_ptr error) {
    try {
      if (error) std::rethrow_exception(error);
    } catch (const boost::filesystem::filesystem_error& e) {
      RaiseOSError(e.code().value(), e.code().message(), e.path1().string(), e.path2().string());
    }
  });

  py::enum_<Scope>(m, "Scope",
                   "A preference scope. Reads look in USER, then PROJECT, then SITE; the\n"
                   "first scope that holds the key wins, even with an empty value.")
      .value("USER", IKTPrefManager::ePrefUser, "The user's own file.")
      .value("PROJECT", IKTPrefManager::ePrefProject, "The project's file (none by default).")
      .value("SITE", IKTPrefManager::ePrefSite, "The installation's site.prefs.")
      .value("ALL", IKTPrefManager::ePrefAll, "Every scope, for load() and save().");

  py::class_<Prefs>(m, "Prefs",
                    "A preference manager over the user, project and site files.\n\n"
                    "Prefs(user=None, project=None, site=None, writable=True): a path given\n"
                    "(str, bytes or os.PathLike) replaces that scope's file; by default the\n"
                    "user file is <tmp>/Norvex/Tessel/user.prefs, the site file\n"
                    "<root>/site.prefs, and there is no project file. A project or site path\n"
                    "equal to the user file is ignored, as in the library. Nothing is read\n"
                    "until load(). Like the C++ manager, the user scope is saved when the\n"
                    "object is closed (close(), the end of a with block) or collected,\n"
                    "unless writable is False. OSError when the temporary folder is\n"
                    "unusable.")
      .def(py::init<py::object, py::object, py::object, bool>(), py::arg("user") = py::none(),
           py::arg("project") = py::none(), py::arg("site") = py::none(),
           py::arg("writable").noconvert() = true)
      .def("load", &Prefs::Load, py::arg("scope") = IKTPrefManager::ePrefAll,
           "Reads a scope's file into memory, replacing it; ALL (the default) reads\n"
           "all three. A scope already loaded is not read again, so changes made with\n"
           "set() stay. A missing file is an empty scope.")
      .def("save", &Prefs::Save, py::arg("scope"),
           "Writes a scope's file, entries in key order; ALL writes every scope that\n"
           "has a file, site included. Nothing is written when the object is\n"
           "read-only or the scope is empty, and, as the library does not report it,\n"
           "when the file cannot be opened. OSError when the file was not saved whole\n"
           "(a full disk, say).")
      .def("get", &Prefs::Get, py::arg("key"), py::arg("default"),
           py::arg("site_only").noconvert() = false, py::kw_only(), py::arg("sep") = py::none(),
           "The value of key, of the default's type: bool (true only for 'true' and\n"
           "'1'), int (leading digits: '12px' is 12, 'abc' 0, out of range the C int\n"
           "limit), float (C float), str, or list of str split at sep (empty pieces\n"
           "kept). A missing key gives the default; an empty value too, except for\n"
           "str ('') and list (['']). Values of keys ending in '.Path' (and of every 4-character\n"
           "key) have <ROOT_DIR> and <APPDATA_DIR> expanded. site_only reads the\n"
           "site scope alone. TypeError for another default type, OverflowError for\n"
           "a number beyond the C type, ValueError for a null character.")
      .def("set", &Prefs::Set, py::arg("key"), py::arg("value"), py::arg("scope"), py::kw_only(),
           py::arg("sep") = py::none(),
           "Stores value in one scope (USER, PROJECT or SITE), in memory: bool as\n"
           "'true'/'false', int in decimal, float as a C float with 6 significant\n"
           "digits, str as is, a list of str joined with sep (an empty list stores\n"
           "nothing; an element holding sep is a ValueError). Works on a read-only\n"
           "object too; save() writes the file.")
      .def(
          "remove",
          [](Prefs& self, py::object key) { self.Manager().RemovePref(Encode(key, "key")); },
          py::arg("key"),
          "Blanks key in the first scope that holds it; the empty entry stays and\n"
          "still hides the scopes below it.")
      .def("close", &Prefs::Close,
           "Saves the user scope (unless read-only) and releases the manager; later\n"
           "calls raise ValueError. Closing twice does nothing.")
      .def(
          "__enter__",
          [](Prefs& self) -> Prefs& {
            self.Manager();  // ValueError once closed
            return self;
          },
          py::return_value_policy::reference, "Returns the object itself.")
      .def(
          "__exit__",
          [](Prefs& self, py::args) {
            self.Close();
            return false;
          },
          "Closes the object (see close()), whether or not the block raised.");

  py::class_<KtUID>(m, "UID",
                    "A 128-bit identifier. UID(text) takes exactly 8-4-4-4-12 hexadecimal\n"
                    "digits of either case and raises ValueError naming what is wrong.\n"
                    "str() gives the canonical upper-case text; equal identifiers compare\n"
                    "and hash equal.")
      .def(py::init(&ParseUid), py::arg("text"))
      .def(
          "__str__", [](const KtUID& uid) { return UidText(uid); }, "The canonical text.")
      .def(
          "__repr__", [](const KtUID& uid) { return "UID('" + UidText(uid) + "')"; },
          "UID('<canonical text>').")
      .def(
          "__eq__",
          [](const KtUID& uid, py::handle other) -> py::object {
            if (!py::isinstance<KtUID>(other))
              return py::reinterpret_borrow<py::object>(Py_NotImplemented);
            return py::bool_(uid == other.cast<const KtUID&>());
          },
          "Equal when the 16 bytes are.")
      .def(
          "__hash__",
          [](const KtUID& uid) {
            return py::hash(py::bytes(reinterpret_cast<const char*>(uid.GetBytes()), 16));
          },
          "Hash of the 16 bytes.");

  m.def(
      "root_dir", [] { return Decode(KTGetRootDir()); },
      "The installation root: two folders above libktbase.so; '' when unknown.");
  m.def(
      "bin_dir", [] { return Decode(KTGetBinDir()); },
      "The folder that holds libktbase.so; '' when unknown.");
  m.def(
      "db_dir", [] { return Decode(KTGetDBDir()); },
      "root_dir()/db ('db' when the root is unknown).");
  m.def(
      "app_data_dir",
      [](py::object subPath) {
        const std::string sub = Encode(subPath, "sub_path");
        return Decode(CKTAppDataPath(sub, CKTAppDataPath::eAppDataUser).string());
      },
      py::arg("sub_path") = "",
      "The per-user data folder: the temporary folder ($TMPDIR, $TMP, $TEMP,\n"
      "$TEMPDIR, else /tmp) joined with sub_path. Creates nothing. OSError when\n"
      "the temporary folder is unusable.");

  py::class_<KTSearchPath>(m, "SearchPath",
                           "Folders searched for files by extension, in the order added.")
      .def(py::init<>())
      .def(
          "add",
          [](KTSearchPath& self, py::object folder, bool recursive) {
            self.Add(PathArg(folder, "folder").c_str(), recursive);
          },
          py::arg("folder"), py::arg("recursive").noconvert() = false,
          "Adds folder (a file's path adds the folder that holds it; a missing\n"
          "folder adds nothing); recursive adds every folder below it too, depth\n"
          "first. Duplicates are kept. OSError when a folder cannot be listed, e.g.\n"
          "on a symbolic-link loop.")
      .def(
          "find",
          [](KTSearchPath& self, py::object extension) {
            std::vector<std::string> found;
            self.FindByExtension(found, Encode(extension, "extension").c_str());
            py::list out;
            for (const std::string& path : found) out.append(Decode(path));
            return out;
          },
          py::arg("extension"),
          "Paths of the files directly inside each folder whose extension, dot\n"
          "included, is exactly extension ('.so'; 'so' finds nothing). OSError when\n"
          "a folder cannot be read.");
}
