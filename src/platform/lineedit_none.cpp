// No line editing: the terminal's own has to do.
#include "platform/lineedit.h"

void StartLineEditing(CompletionsOf) {}
bool LineEditingRuns() { return false; }
int PollEditedLine(char*, std::size_t) { return -1; }
void OfferEditedLine() {}
void HideEditedLine() {}
void RestoreEditedLine() {}
