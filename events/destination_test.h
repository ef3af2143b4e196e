// Trying a notification destination from this machine: a test mail, file, request or line goes
// straight to the destination and every step is reported; nothing is sent to the video service.
#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "base/timeconv.h"
#include "events/records.h"

namespace kv::events {

struct ProbeStep {
    // "destination", "connect", "greeting", "authenticate", "directory", "send", "answer"; "start"
    // when the test itself could not run
    std::string what;
    bool ok = false;
    std::string detail;  // done: what happened ("connected to 10.0.0.5:25"); failed: why
};

struct ProbeReport {
    bool ok = false;  // every step succeeded
    std::vector<ProbeStep> steps;
    /// One line a step: a done step's detail, a failed one as "<what> failed: <detail>".
    std::string text() const;
};

/// The template tokens of mail and FTP texts filled with test values for an event at `when`
/// (local time): "$EVT_DATE$" "2024/05/01 13:45:10", "$EVT_DATE1$" "20240501_134510",
/// "$EVT_NAME$" "Test", "$EVT_CH$" and "$EVT_TRGID$" "0". `forFileName` gives "$EVT_DATE$" the
/// file-name form too, so a file name never gets a slash or a colon.
std::string FillTestTokens(std::string_view text, const base::CivilTime& when, bool forFileName = false);

// Each test is bounded by `limit` as a whole, never throws, and reports the first failed step last.

/// A test mail over plain SMTP, authenticated when the record has a user name; no attachments.
ProbeReport TestMail(const MailServerRecord& server, std::chrono::milliseconds limit);
/// A small text file (the filled Content) stored as the filled FileName in UploadPath.
ProbeReport TestFTP(const FTPServerRecord& server, std::chrono::milliseconds limit);
/// A POST of Content to http://Server:Port/, with basic authentication when UserName is set.
ProbeReport TestHTTP(const HTTPServerRecord& server, std::chrono::milliseconds limit);
/// A connection that sends the line "Kelvarra 64 test" and reports any answer that comes soon.
ProbeReport TestTCP(const TCPServerRecord& server, std::chrono::milliseconds limit);

/// The test of the destination `id` of `kind` (kMail, kFTP, kHTTP or kTCP) in the tables.
ProbeReport TestDestination(const EventTables& tables, int kind, int16_t id, std::chrono::milliseconds limit);

}  // namespace kv::events
