// The host's journal: the named object "KtHost.Journal" through which
// plug-ins tell the host what they do. Notes are printed at once, under the
// report section that is current.
#ifndef KTBASE_EXAMPLES_KTHOST_JOURNAL_H
#define KTBASE_EXAMPLES_KTHOST_JOURNAL_H

#include <ktbase/ktplugin.h>

#include "report.h"

namespace kthost {

class HostJournal final : public ktplugin::IHostJournal {
 public:
  explicit HostJournal(Report& report) : m_report(report) {}

  const char* GetClsName() override { return "KtHost.Journal"; }
  // Null texts are shown as "(null)".
  void Note(const char* source, const char* text) override;

 private:
  Report& m_report;
};

}  // namespace kthost

#endif  // KTBASE_EXAMPLES_KTHOST_JOURNAL_H
