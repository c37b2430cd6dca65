// Per-account storage caps kept in settings rows, and what an account's
// stored mail attachments take, for the upload group's quota option.
#pragma once

#include <cstdint>

#include "frame/upload.h"
#include "frame/value.h"

namespace tav {

class Page;

// The cap in the software row softname, given in megabytes (a decimal
// number), as bytes; default_mb when the row is missing or holds no number.
std::int64_t quota_bytes(Page& page, const char* softname, int default_mb);

// Bytes of the attachment files named by the mails the account sent that
// are still in the table. Files shared by the rows of one mail (one per
// recipient) count once; a name that is no plain file name counts nothing.
std::int64_t mail_attachment_bytes(Page& page, const Value& account);

// The send pages' cap: the session account's mail attachments against the
// row quota_mail, 100 MB without it.
UploadQuota mail_attachment_quota();

}  // namespace tav
