/* SPDX-License-Identifier: GPL-2.0 */
/* Shows a record in all of zemctl's formats and checks the output. */
#pragma once

#include "records/record.h"

namespace zemctl::fuzz {

void show_in_every_form(const Record &record);

} // namespace zemctl::fuzz
