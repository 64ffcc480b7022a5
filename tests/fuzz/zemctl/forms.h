/* SPDX-License-Identifier: GPL-2.0 */
/* A record in every form that zemctl gives it, checked. */
#pragma once

#include "record.h"

namespace zemctl::fuzz {

void show_in_every_form(const Record &record);

} // namespace zemctl::fuzz
