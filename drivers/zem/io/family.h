/* SPDX-License-Identifier: GPL-2.0 */
/* The upload of the kio family. Context: process; may sleep. */
#pragma once

namespace zem {

void kio_upload();

} /* namespace zem */
