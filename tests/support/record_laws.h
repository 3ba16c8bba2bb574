// What a valid datetime keeps, with a region or without: a walk through a stored form, a text, the
// same release of its zone file or no months leads back to the same record. For tests and fuzz targets.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kestra/datetime_text.h"
#include "kestra/datetime_zone.h"

namespace kestra::test {

class RecordLaws {
 public:
  // The session has to outlive it; its zone may change.
  explicit RecordLaws(const LdiSession& session);
  ~RecordLaws() { LdiParseContextTerm(&ctx_); }
  RecordLaws(const RecordLaws&) = delete;
  RecordLaws& operator=(const RecordLaws&) = delete;

  // The law that a value breaks, null when it keeps all of them. A timestamp with local zone has to be
  // shown in the session's.
  const char* Broken(const LdiDate& date);

 private:
  struct Format {
    std::uint8_t bytes[64];
    std::size_t length;
  };
  const char* BrokenText(const LdiDate& date, const Format& format);

  const LdiSession& session_;
  LdiParseContext ctx_;
  Format formats_[8];  // by type, with all that it has
};

}  // namespace kestra::test
