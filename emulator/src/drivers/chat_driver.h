// Drives the application's chat services as the SDK would: every operation of
// the chat session manager, its sessions, their streams and confirmations,
// called from SDK threads, with what each callback received reported through
// the DriveLog.
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "support/json.h"

namespace quelt::ombrix::emu::chat {

// Runs `op` against the chat session manager of the client `args` names
// (SelectClient), or against the session it names. Returns
// { drive, … } for an asynchronous operation (its report follows through the
// DriveLog), the report itself for a synchronous one, or { error }.
Json Drive(const std::string& op, const Json& args, int listener);

// What the SDK side of a stream, a confirmation requester or a session
// observer has received; null for an unknown id.
Json StreamEvents(uint64_t stream);
Json ConfirmRequests(uint64_t confirm);
Json ObserverEvents(uint64_t observer);

// What the SDK holds now: { sessions: [id], streams: [{ id, events }],
// confirms: [{ id, requests }] }.
Json HeldState();

bool CancelToolCall(uint64_t stream, uint32_t index);
bool AnswerConfirm(uint64_t confirm, uint32_t request, const std::string& responseJson);

// Picks the manager of the client `args` names, on the calling thread, and
// returns the storm, to run on another: `threads` SDK threads each make
// `calls` setLanguageCode calls; it returns when every callback has run (or
// after a generous time-out) with { issued, completed, dropped, duplicates,
// offJsThread, seconds }, or { error } when there was no manager.
std::function<Json()> Storm(int threads, int calls, const Json& args);

}  // namespace quelt::ombrix::emu::chat
