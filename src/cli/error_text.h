// The one line the command prints for a failure: a plain sentence first, then the error's number
// and source, "error: no folder has the id 9 (error 5, clipcat)". Leftovers of the automation
// layer and the engines' own messages that a person can meet are put into plain words here.
#pragma once

#include <string>

#include "util/errors.h"

namespace clipcat::cli {

// The sentence a person is shown for `error`: its description, or plain words for a runtime
// error or an engine message that means nothing to a person; never more than one line.
std::string PlainSentence(const AutomationError& error);

// The number as the line shows it: the component's own errors (0x80040000 plus 507, 508, ...)
// as their offset (507, 508, ...), every other number in signed decimal.
std::string ShownNumber(int32_t number);

// "error: SENTENCE (error NUMBER, SOURCE)". With `as_raised` (the errors of a member called by
// name, whose descriptions are part of its contract) the sentence is the description's first
// line as raised.
std::string ErrorLine(const AutomationError& error, bool as_raised = false);

// What the error line left out of the description, for --verbose: every line of it after the
// first, and the first too when the line put it into plain words; each indented by two spaces
// and ended by a newline. Empty when the line said it all.
std::string VerboseDetail(const AutomationError& error, bool as_raised = false);

}  // namespace clipcat::cli
