/* SPDX-License-Identifier: GPL-2.0 */
/* Display errors, which a display module pushes when it is called. */
#pragma once

namespace zem {

/* Calls the display module, if there is one. Context: process; may sleep. */
void display_upload();

} /* namespace zem */
