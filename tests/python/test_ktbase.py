"""The Python module against the C++ library: the same preference answers as
ktprefs, the writes the library formats, the lifecycle of a Prefs, every kind
of bad argument, identifiers, paths and the stub that documents them."""

import ast
import errno
import gc
import os
import stat
import subprocess

import pytest

import ktbase
from ktbase import Prefs, Scope, SearchPath, UID

FILES = {
    "user": "Threads=12px\nWord=abc\nFlag=\ttrue\nBlank=\nList=a,,b,\n"
    "Temp=<APPDATA_DIR>/t\nBoth=user\n",
    "project": "Both=project\nProj=7\n",
    "site": "Both=site\nBig=99999999999\nSmall=-99999999999\nExp=1e\nHex=0x10\nOne=1\n"
    "Cap=True\nCache.Path=<ROOT_DIR>/c<ROOT_DIR>\nCache.path=<ROOT_DIR>\nFrac=2.5e3\nSemi=x\n",
}

# (key, default, site_only, sep): each read through the module and ktprefs.
PARITY = [
    ("Threads", 0, False, None), ("Word", 0, False, None), ("Word", 1.5, False, None),
    ("Blank", 5, False, None), ("Blank", "d", False, None), ("Blank", ["d"], False, ","),
    ("Missing", 42, False, None), ("Missing", "d", False, None), ("Missing", True, False, None),
    ("Missing", ["x", "y"], False, ";"), ("Flag", True, False, None), ("One", False, False, None),
    ("Cap", False, False, None), ("Big", 0, False, None), ("Small", 0, False, None),
    ("Big", 0.5, False, None), ("Exp", 9.0, False, None), ("Hex", 9, False, None),
    ("Hex", 9.0, False, None), ("Frac", 0, False, None), ("Frac", 0.0, False, None),
    ("Cache.Path", "", False, None), ("Cache.path", "", False, None), ("Temp", "", False, None),
    ("Both", "", False, None), ("Both", "", True, None), ("Proj", 0, False, None),
    ("Proj", 0, True, None), ("List", ["d"], False, ","), ("Semi", ["d"], False, ";"),
]


@pytest.fixture
def tmp(tmp_path, monkeypatch):
    """A private folder that is also the temporary folder, so default user
    files and <APPDATA_DIR> land there."""
    monkeypatch.setenv("TMPDIR", str(tmp_path))
    return tmp_path


@pytest.fixture
def files(tmp):
    paths = {}
    for scope, text in FILES.items():
        paths[scope] = tmp / f"{scope}.prefs"
        paths[scope].write_text(text)
    return paths


def as_text(value):
    """What ktprefs prints for a value the module returned."""
    if isinstance(value, bool):
        return "true\n" if value else "false\n"
    if isinstance(value, float):
        return "%g\n" % value
    if isinstance(value, list):
        return "".join(piece + "\n" for piece in value)
    return f"{value}\n"


def test_reads_match_ktprefs(files):
    ktprefs = os.environ.get("KTPREFS")
    if not ktprefs:
        pytest.skip("ktprefs not built (KTBASE_BUILD_EXAMPLES=OFF)")
    prefs = Prefs(**files, writable=False)
    prefs.load()
    where = [f"--{scope}={path}" for scope, path in files.items()]
    for key, default, site_only, sep in PARITY:
        value = prefs.get(key, default, site_only, sep=sep) if sep else prefs.get(key, default, site_only)
        kind = {bool: "bool", int: "int", float: "float", str: "string", list: "list"}[type(default)]
        fallback = (sep or ",").join(default) if sep else as_text(default)[:-1]
        command = [ktprefs, *where, "get", key, "--type", kind, "--default", fallback]
        command += (["--site-only"] if site_only else []) + ([f"--separator={sep}"] if sep else [])
        out = subprocess.run(command, capture_output=True, text=True, check=True).stdout
        assert as_text(value) == out, (key, default, site_only)
    root = ktbase.root_dir()
    assert prefs.get("Cache.Path", "") == f"{root}/c{root}"
    assert prefs.get("Temp", "") == f"{ktbase.app_data_dir()}/t"


def test_writes_are_the_library_text(files):
    rows = [("b", True, None, "true"), ("c", -7, None, "-7"), ("d", 0.1, None, "0.1"),
            ("e", 1234567.0, None, "1.23457e+06"), ("f", 1e-7, None, "1e-07"),
            ("g", "x y", None, "x y"), ("h", ["a", "", "b"], ";", "a;;b"), ("i", [""], ";", ""),
            ("j", "\udcff", None, "\udcff"),  # a byte that is no UTF-8 round-trips
            ("k", -2**31, None, "-2147483648"), ("l", ["a", "b"], "\x7f", "a\x7fb")]  # the limits
    with Prefs(user=files["user"], site=files["site"]) as prefs:
        prefs.load()
        for key, value, sep, _ in rows:
            prefs.set(key, value, Scope.USER, **({"sep": sep} if sep else {}))
        prefs.set("h", [], Scope.USER, sep=";")  # an empty list stores nothing
        prefs.set("Both", "site2", Scope.SITE)
        prefs.remove("Both")  # blanks the user entry only
        assert (prefs.get("Both", "d"), prefs.get("Both", "d", True)) == ("", "site2")
        assert prefs.get("j", "") == "\udcff"
        prefs.load(Scope.USER)  # already loaded: the changes stay
        assert prefs.get("c", 0) == -7
        prefs.save(Scope.SITE)
    assert files["site"].read_text().startswith("Big=99999999999\nBoth=site2\n")
    text = files["user"].read_bytes().decode("utf-8", "surrogateescape")
    for key, _, _, stored in rows:
        assert f"\n{key}={stored}\n" in "\n" + text
    assert "\nBoth=\n" in text and text.splitlines() == sorted(text.splitlines())


def test_lifecycle_saves_the_user_scope(tmp):
    user = tmp / "u.prefs"
    with Prefs(user=user, writable=False) as prefs:
        prefs.set("k", 1, Scope.USER)
    assert not user.exists()
    with pytest.raises(ValueError, match="closed"):
        prefs.get("k", 0)
    with pytest.raises(ValueError, match="closed"), prefs:
        pass
    prefs.close()  # again: nothing
    with pytest.raises(KeyError), Prefs(user=user, writable=False):
        raise KeyError("not swallowed by __exit__")
    user.write_text("k=u\n")
    one = Prefs(user=user, site=user.with_name("none"), writable=False)
    one.load(Scope.USER)  # that scope only
    assert (one.get("k", ""), one.get("k", "", True)) == ("u", "")
    one.close()
    with Prefs(user=user) as prefs:
        prefs.set("k", 1, Scope.USER)
    assert user.read_text() == "k=1\n"
    prefs = Prefs(user=user)  # collected without close(): the manager's destructor saves
    prefs.set("k", 2, Scope.USER)
    del prefs
    gc.collect()
    assert user.read_text() == "k=2\n"
    # A copy of /dev/full where one can be made and opened: a fault that took
    # the device for a file would rename over the copy, not the system's.
    full_path = tmp / "full"
    try:
        os.mknod(full_path, 0o666 | stat.S_IFCHR, os.makedev(1, 7))
        open(full_path, "w").close()
    except OSError:
        full_path = "/dev/full"
    full = Prefs(user=str(full_path))
    full.set("k", "x" * 10000, Scope.USER)
    for call in (lambda: full.save(Scope.ALL), full.close):
        with pytest.raises(OSError, match="written short"):
            call()
    defaults = Prefs()  # the library's default user file
    defaults.set("k", "v", Scope.USER)
    defaults.close()
    assert (tmp / "Norvex" / "Tessel" / "user.prefs").read_text() == "k=v\n"


BAD = [
    (lambda p: p.get(1, "x"), TypeError, "key must be str"),
    (lambda p: p.get(b"k", "x"), TypeError, "key must be str"),
    (lambda p: p.get("k\0", "x"), ValueError, "null"),
    (lambda p: p.get("k", None), TypeError, "default must be"),
    (lambda p: p.get("k", b"x"), TypeError, "default must be"),
    (lambda p: p.get("k", ("a",)), TypeError, "default must be"),
    (lambda p: p.get("k", "x\0"), ValueError, "null"),
    (lambda p: p.get("k", 2**31), OverflowError, "C int"),
    (lambda p: p.get("k", -2**31 - 1), OverflowError, "C int"),
    (lambda p: p.get("k", 1e39), OverflowError, "C float"),
    (lambda p: p.get("k", ["a"]), TypeError, "sep="),
    (lambda p: p.get("k", "a", sep=","), TypeError, "list default only"),
    (lambda p: p.get("k", ["a", 1], sep=","), TypeError, "list element must be str"),
    (lambda p: p.get("k", ["a"], sep=",,"), ValueError, "one ASCII"),
    (lambda p: p.get("k", ["a"], sep="é"), ValueError, "one ASCII"),
    (lambda p: p.get("k", ["a"], sep=""), ValueError, "one ASCII"),
    (lambda p: p.get("k", "x", 1), TypeError, "incompatible"),
    (lambda p: p.set("k", None, Scope.USER), TypeError, "value must be"),
    (lambda p: p.set("k", b"v", Scope.USER), TypeError, "value must be"),
    (lambda p: p.set("k", "a\0b", Scope.USER), ValueError, "null"),
    (lambda p: p.set("k", "\ud800", Scope.USER), UnicodeEncodeError, "surrogate"),
    (lambda p: p.set("k", 2**63, Scope.USER), OverflowError, "C int"),
    (lambda p: p.set("k", -1e39, Scope.USER), OverflowError, "C float"),
    (lambda p: p.set("k", ["a,b"], Scope.USER, sep=","), ValueError, "holds the separator"),
    (lambda p: p.set("k", "v", Scope.ALL), ValueError, "one scope"),
    (lambda p: p.set("k", "v", Scope(7)), ValueError, "one scope"),
    (lambda p: p.set("k", "v", 0), TypeError, "incompatible"),
    (lambda p: p.load(Scope(5)), ValueError, "USER, PROJECT, SITE or ALL"),
    (lambda p: p.save(Scope(4)), ValueError, "USER, PROJECT, SITE or ALL"),
    (lambda p: p.remove(None), TypeError, "key must be str"),
    (lambda p: Prefs(user=""), ValueError, "empty path"),
    (lambda p: Prefs(site=3), TypeError, "int"),
    (lambda p: Prefs(project="a\0b"), ValueError, "null"),
    (lambda p: Prefs(writable=1), TypeError, "incompatible"),
    (lambda p: UID(None), TypeError, "must be str"),
    (lambda p: UID(b"00000000-0000-0000-0000-000000000000"), TypeError, "must be str"),
    (lambda p: UID(""), ValueError, "36 characters expected .* found 0"),
    (lambda p: UID("00000000-0000-0000-0000-0000000000000"), ValueError, "found 37"),
    (lambda p: UID("0000000-0000-0000-0000-000000000000"), ValueError, "digit expected at position 7"),
    (lambda p: UID("000000000000-0000-0000-000000000000"), ValueError, "'-' expected at position 8"),
    (lambda p: UID("00000000-0000-0000-0000-00000000000g"), ValueError, "position 35, found 'g'"),
    (lambda p: UID("00000000-0000-0000-0000-00000000000é"), ValueError, "position 35, found 'é'"),
    (lambda p: UID("00000000-0000-0000-0000-000000000000\0"), ValueError, "found 37"),
    (lambda p: UID("{0000000-0000-0000-0000-000000000000}"), ValueError, "position 0, found '{'"),
    (lambda p: SearchPath().add(None), TypeError, "NoneType"),
    (lambda p: SearchPath().add("."), None, None),
    (lambda p: SearchPath().add(".", "yes"), TypeError, "incompatible"),
    (lambda p: SearchPath().find(None), TypeError, "extension must be str"),
    (lambda p: ktbase.app_data_dir(1), TypeError, "sub_path must be str"),
]


@pytest.mark.parametrize("call, error, message", BAD)
def test_bad_input_raises(tmp, call, error, message):
    prefs = Prefs(user=tmp / "u.prefs")
    if error is None:
        call(prefs)
    else:
        with pytest.raises(error, match=message):
            call(prefs)
    prefs.close()
    assert not (tmp / "u.prefs").exists()  # nothing bad reached the file


def test_filesystem_errors_are_oserror(tmp, monkeypatch):
    (tmp / "loop").symlink_to(tmp)  # a recursive walk never ends
    with pytest.raises(OSError) as raised:
        SearchPath().add(tmp, recursive=True)
    assert raised.value.errno == errno.ELOOP and "loop" in raised.value.filename
    (tmp / "file").write_text("")
    for value in (str(tmp / "file"), str(tmp / "gone"), ""):
        monkeypatch.setenv("TMPDIR", value)
        for call in (Prefs, ktbase.app_data_dir):
            with pytest.raises(NotADirectoryError) as raised:
                call()
            assert (raised.value.errno, raised.value.filename) == (errno.ENOTDIR, value)


def test_uid_round_trips():
    text = "0123abcd-EF01-2345-6789-abcdefABCDEF"
    uid = UID(text)
    assert str(uid) == text.upper() and repr(uid) == f"UID('{text.upper()}')"
    assert UID(str(uid)) == uid and hash(UID(text.upper())) == hash(uid)
    assert uid != UID("00000000-0000-0000-0000-000000000000") and uid != text
    assert len({uid, UID(text.lower()), UID(str(uid))}) == 1


def test_paths_and_search(tmp):
    root = ktbase.root_dir()
    assert os.path.isfile(os.path.join(ktbase.bin_dir(), "libktbase.so"))
    assert os.path.dirname(os.path.dirname(ktbase.bin_dir())) == root
    assert ktbase.db_dir() == os.path.join(root, "db")
    assert ktbase.app_data_dir() == str(tmp) and ktbase.app_data_dir("a/b") == f"{tmp}/a/b"
    for folder in ("d/a/b", "d/c"):
        (tmp / folder).mkdir(parents=True)
        (tmp / folder / "x.txt").write_text("")
    (tmp / "d" / "y.TXT").write_text("")
    path = SearchPath()
    path.add(tmp / "d", recursive=True)
    path.add(str(tmp / "d" / "c" / "x.txt"))  # a file adds its folder, again
    path.add(tmp / "missing" / "z")  # nothing
    found = path.find(".txt")
    assert sorted(found) == sorted(f"{tmp}/{f}/x.txt" for f in ("d/a/b", "d/c", "d/c"))
    assert path.find("txt") == [] and path.find(".TXT") == [f"{tmp}/d/y.TXT"]


def test_every_name_is_documented_and_stubbed():
    stub = ast.parse(open(os.path.join(os.path.dirname(ktbase.__file__), "ktbase.pyi")).read())
    stubbed = {node.name: {n.name for n in node.body if isinstance(n, ast.FunctionDef)}
                          | {n.target.id for n in node.body if isinstance(n, ast.AnnAssign)}
               for node in stub.body if isinstance(node, (ast.ClassDef, ast.FunctionDef))}
    public = [name for name in dir(ktbase) if not name.startswith("_")]
    assert sorted(public) == sorted(stubbed)
    for name in public:
        item = getattr(ktbase, name)
        assert item.__doc__, name
        for member in vars(item) if isinstance(item, type) else ():
            if not member.startswith("_") or member in ("__init__", "__enter__", "__exit__"):
                assert member in stubbed[name], (name, member)
                # name and value are pybind11's own enum properties
                assert isinstance(vars(item)[member], property) or getattr(item, member).__doc__
