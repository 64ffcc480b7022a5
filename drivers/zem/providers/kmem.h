/* SPDX-License-Identifier: GPL-2.0 */
/* Memory indicators: a block that another module provides. Context: process; may sleep. */
#pragma once

namespace zem {

/* Return: 0. */
[[nodiscard]] int kmem_init();

/* Uploads the provider's block, and clears it. */
void kmem_upload();

/* Neither uploads nor clears the block: its content belongs to the first cycle. */
void kmem_prime();

} /* namespace zem */
