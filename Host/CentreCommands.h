// The commands that work the notification centre: each does what a user's finger would.

#pragma once

#include "Host/HostCommands.h"
#include "Host/ScriptCommand.h"

namespace kova::host {

// Each throws ScriptError when what it works is not on the screen.

void centre(const ScriptCommand& command, HostContext& context);
void selectRow(const ScriptCommand& command, HostContext& context);
void swipeDelete(const ScriptCommand& command, HostContext& context);
void back(const ScriptCommand& command, HostContext& context);
void trash(const ScriptCommand& command, HostContext& context);
void answerAlert(const ScriptCommand& command, HostContext& context);
void openLink(const ScriptCommand& command, HostContext& context);
void scroll(const ScriptCommand& command, HostContext& context);
void restyle(const ScriptCommand& command, HostContext& context);
void barBadge(const ScriptCommand& command, HostContext& context);
void buttonBadge(const ScriptCommand& command, HostContext& context);
void resize(const ScriptCommand& command, HostContext& context);
/// Answers what is on top of the screen.
void screen(const ScriptCommand& command, HostContext& context);

} // namespace kova::host
