/// @file
/// The plug-in convention of ktbase hosts (header-only; installed with the
/// library's headers). See @ref guide_plugin.
///
/// A plug-in is a shared module (file extension ".so") that exports two
/// functions under their plain C names:
///
///     extern "C" int  KtPluginInterfaceVersion();          // KTPLUGIN_INTERFACE_VERSION
///     extern "C" void KtPluginEntry(qrn::ISystem* system);  // registers what it offers
///
/// The host reads the version first and refuses a module whose number differs
/// from its own, without calling anything else in it. It then calls the entry
/// once, with the live system. Both functions are looked up in the module
/// itself only: a module whose entry comes from a library it links to has no
/// entry of its own and is refused (so a shared entry never runs twice).
///
/// The usual way to write both is the macro KTPLUGIN_ENTRY:
///
///     KTPLUGIN_ENTRY(system) {
///       system->RegisterSingleton("My.Service", &CreateMyService);
///     }
///
/// Contracts for plug-in authors:
/// - The entry may throw; the host reports the exception and goes on, but
///   whatever the entry registered before the throw stays registered.
/// - A plug-in is never unloaded while the system lives, so objects,
///   factories and startup functions may point into the module freely:
///   hosts keep their modules, and ktbase_add_plugin() links with
///   `-z nodelete`, so even a host that calls `dlclose` leaves them mapped.
/// - Hosts may hand the entry a view of the system that records what the
///   plug-in registers; keep that pointer for later calls (startup factories)
///   rather than calling qrnGetSystem(), so the host's report stays complete.
/// - The system is single-threaded: call it from one thread at a time (see
///   @ref threads).
/// @ingroup plugin
#ifndef KTBASE_KTPLUGIN_H
#define KTBASE_KTPLUGIN_H

#include <ktbase/ibase.h>
#include <ktbase/isystem.h>
#include <ktbase/ktprefmanager.h>

#include <cstdio>
#include <string>

/// The plug-in interface version. Bumped when the entry's contract or
/// anything a host hands to plug-ins changes incompatibly. Hosts accept only
/// their own number.
/// @ingroup plugin
#define KTPLUGIN_INTERFACE_VERSION 1

/// Visible from outside the module even under `-fvisibility=hidden`.
/// Interfaces shared between modules carry it too, so their type information
/// is found by `dynamic_cast` across module boundaries.
/// @ingroup plugin
#define KTPLUGIN_API __attribute__((visibility("default")))

/// Version of the ktbase headers; a plug-in's record carries the one it was
/// built with.
/// @ingroup plugin
#define KTPLUGIN_KTBASE_VERSION "1.0.0"

/// Puts a variable into the module's ELF note section, where hosts read it
/// from the file without loading the module; kept by the linker even when
/// nothing refers to it.
/// @ingroup plugin
#if defined(__has_attribute) && __has_attribute(retain)
#define KTPLUGIN_NOTE_SECTION __attribute__((section(".note.ktplugin"), used, retain, aligned(4)))
#else
#define KTPLUGIN_NOTE_SECTION __attribute__((section(".note.ktplugin"), used, aligned(4)))
#endif

/// Defines `KtPluginInterfaceVersion()`, places the plug-in record (interface
/// version and ktbase version) in the module's file, where hosts read it
/// without running the module, and opens the definition of
/// `KtPluginEntry(qrn::ISystem* systemName)`; the body follows the macro.
/// The argument names a parameter, so it cannot be put in parentheses.
/// @param systemName The name of the entry's parameter: the live system
///   (borrowed; valid until the host ends the system).
/// @ingroup plugin
#define KTPLUGIN_ENTRY(systemName)                                                              \
  KTPLUGIN_NOTE_SECTION static const ::ktplugin::RecordNote ktplugin_record_note = {            \
      {::ktplugin::kNoteOwnerSize,                                                              \
       sizeof(::ktplugin::RecordNote) - sizeof(::ktplugin::NoteHeader),                         \
       ::ktplugin::kRecordNoteType, "KtPlugin"},                                                \
      1,                                                                                        \
      KTPLUGIN_INTERFACE_VERSION,                                                               \
      KTPLUGIN_KTBASE_VERSION};                                                                 \
  extern "C" KTPLUGIN_API int KtPluginInterfaceVersion() { return KTPLUGIN_INTERFACE_VERSION; } \
  extern "C" KTPLUGIN_API void KtPluginEntry(                                                   \
      qrn::ISystem* systemName)  // NOLINT(bugprone-macro-parentheses)

/// Optional, beside KTPLUGIN_ENTRY: adds a name (a string literal of at most
/// 255 bytes) and an identifier (a KtUID text literal, checked when compiled)
/// to the module's record, e.g.
/// KTPLUGIN_INFO("Hello", "12345678-9ABC-DEF0-0102-030405060708");
/// @param pluginName The plug-in's name, a string literal.
/// @param uidText Its identifier, a KtUID text literal.
/// @ingroup plugin
#define KTPLUGIN_INFO(pluginName, uidText)                                                      \
  static_assert(sizeof(pluginName) <= 256, "KTPLUGIN_INFO: the name is too long");              \
  static_assert(::ktplugin::IsUidText(uidText), "KTPLUGIN_INFO: not a KtUID text");             \
  KTPLUGIN_NOTE_SECTION static const ::ktplugin::InfoNote<(sizeof(pluginName) + 3) / 4 * 4>     \
      ktplugin_info_note = {{::ktplugin::kNoteOwnerSize, 40 + (sizeof(pluginName) + 3) / 4 * 4, \
                             ::ktplugin::kInfoNoteType, "KtPlugin"},                            \
                            uidText,                                                            \
                            pluginName}

/// The plug-in convention: what plug-ins and hosts share.
/// @ingroup plugin
namespace ktplugin {

/// The type of `KtPluginEntry`, for a host's `dlsym`.
/// @ingroup hosting
using EntryFunction = void (*)(qrn::ISystem*);
/// The type of `KtPluginInterfaceVersion`, for a host's `dlsym`.
/// @ingroup hosting
using VersionFunction = int (*)();

/// The entry's symbol name.
/// @ingroup hosting
constexpr const char* kEntryName = "KtPluginEntry";
/// The version function's symbol name.
/// @ingroup hosting
constexpr const char* kVersionName = "KtPluginInterfaceVersion";
/// KTPLUGIN_INTERFACE_VERSION as a constant.
/// @ingroup hosting
constexpr int kInterfaceVersion = KTPLUGIN_INTERFACE_VERSION;

/// Size of the notes' owner name "KtPlugin", its terminator included.
constexpr unsigned kNoteOwnerSize = 9;
/// Note type of the record that KTPLUGIN_ENTRY places.
constexpr unsigned kRecordNoteType = 1;
/// Note type of the name and identifier that KTPLUGIN_INFO adds.
constexpr unsigned kInfoNoteType = 2;

/// The header of an ELF note (4-byte words), with the owner name padded.
struct NoteHeader {
  unsigned nameSize;  ///< kNoteOwnerSize.
  unsigned descSize;  ///< Bytes after the header.
  unsigned type;      ///< kRecordNoteType or kInfoNoteType.
  char owner[12];     ///< "KtPlugin".
};

/// The record: format 1. Later formats only append fields.
struct RecordNote {
  NoteHeader header;       ///< The note's header.
  unsigned format;         ///< 1.
  int interfaceVersion;    ///< KTPLUGIN_INTERFACE_VERSION.
  char ktbaseVersion[16];  ///< KTPLUGIN_KTBASE_VERSION, zero-padded.
};

/// The name and identifier; NameBytes is the name's size rounded up to 4.
template <unsigned NameBytes>
struct InfoNote {
  NoteHeader header;     ///< The note's header.
  char uid[40];          ///< KtUID text, zero-padded.
  char name[NameBytes];  ///< The name, zero-padded.
};

/// Whether `text` is a KtUID text: 8-4-4-4-12 hexadecimal digits.
/// @param text A string literal.
/// @return true when it is one.
constexpr bool IsUidText(const char* text) {
  for (int i = 0; i < 36; ++i) {
    const char c = text[i];
    const bool hyphen = i == 8 || i == 13 || i == 18 || i == 23;
    const bool digit = (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    if (hyphen ? c != '-' : !digit) return false;
  }
  return text[36] == '\0';
}

/// The name under which a ktbase host publishes its IHostJournal before it
/// calls any entry. Borrowed: the journal outlives the system (the host
/// destroys it after qrnExitSystem()), so a plug-in may keep the pointer
/// until its objects die.
constexpr const char* kJournalName = "KtHost.Journal";
/// The name under which a ktbase host publishes its loaded IKTPrefManager
/// before it calls any entry; borrowed, like the journal.
constexpr const char* kPrefsName = "PrefManager";

/// Where a plug-in tells the host what it does; the host shows it in its
/// report. Published as the named object kJournalName; find it with
/// FindJournal().
/// @onethread
/// @ingroup plugin
class KTPLUGIN_API IHostJournal : public qrn::IBase {
 public:
  ~IHostJournal() override = default;
  /// Records one note.
  /// @param source Who speaks, e.g. the plug-in's name; copied.
  /// @param text What it did; copied before Note() returns.
  virtual void Note(const char* source, const char* text) = 0;
};

/// The host's journal.
/// @param system The system; may be null.
/// @return Borrowed from the host (see kJournalName), or null when the host
///   publishes none.
/// @onethread
inline IHostJournal* FindJournal(qrn::ISystem* system) {
  if (system == nullptr) return nullptr;
  return dynamic_cast<IHostJournal*>(system->GetNamedObject(kJournalName));
}

/// The host's preference manager.
/// @param system The system; may be null.
/// @return Borrowed from the host (see kPrefsName), or null when the host
///   publishes none.
/// @onethread
inline IKTPrefManager* FindPrefs(qrn::ISystem* system) {
  if (system == nullptr) return nullptr;
  return dynamic_cast<IKTPrefManager*>(system->GetNamedObject(kPrefsName));
}

/// Notes a text in the host's journal, or writes "[source] text" and a line
/// feed to standard output when there is no journal.
/// @param journal The journal (borrowed); may be null.
/// @param source Who speaks.
/// @param text What it did.
/// @onethread
inline void Note(IHostJournal* journal, const char* source, const std::string& text) {
  if (journal != nullptr)
    journal->Note(source, text.c_str());
  else
    std::printf("[%s] %s\n", source, text.c_str());
}

}  // namespace ktplugin

#endif  // KTBASE_KTPLUGIN_H
