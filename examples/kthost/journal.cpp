#include "journal.h"

namespace kthost {

void HostJournal::Note(const char* source, const char* text) {
  m_report.Note(source != nullptr ? source : "(null)", text != nullptr ? text : "(null)");
}

}  // namespace kthost
