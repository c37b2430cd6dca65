// What a page test starts from: a site with its accounts and rows, the
// checks of answers, the hostile payloads, and files on the disk.
#pragma once

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/accounts.h"
#include "tests/support/files.h"
#include "tests/support/multipart.h"
#include "tests/support/pages.h"
#include "tests/support/payloads.h"
#include "tests/support/test_site.h"
#include "tests/support/text.h"

namespace fs = std::filesystem;
