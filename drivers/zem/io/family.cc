// SPDX-License-Identifier: GPL-2.0
#include "io/family.h"

#include "core/common/setter.h"
#include "io/snapshot.h"
#include "linux/zem.h"

namespace zem {

void kio_upload()
{
	kioind_upload([](const zem_kio &snapshot) { upload(kio_zem_set, snapshot); });
}

} /* namespace zem */
