// SPDX-License-Identifier: GPL-2.0
/*
 * Watches modules being loaded and unloaded. Reads the export table of the module "zem" before its
 * start-up, so that providers are in place for the priming pass. After zem is unloaded, or its
 * start-up has failed, removes what zem left behind, so that it can be loaded again.
 */
#include <linux/err.h>
#include <linux/kernel.h>
#include <linux/module.h>
#include <linux/mutex.h>
#include <linux/notifier.h>
#include <linux/string.h>

#include <linux/zem.h>

#include "common/compat.h"
#include "contract/block_devices.h"
#include "contract/hooks.h"
#include "contract/load_feed.h"
#include "contract/svp.h"
#include "contract/task_records.h"
#include "parts.h"
#include "zem_symbols.h"

#define CHANNEL_NAME(symbol, name) #name,
static const char *const channel_names[ZEM_CHANNEL_COUNT] = {ZEM_CHANNELS(CHANNEL_NAME)};

/* Protects zem and setters. */
static DEFINE_MUTEX(zem_lock);
static struct module *zem;
static zem_setter setters[ZEM_CHANNEL_COUNT];

static void *find_export(const struct module *module, const char *name)
{
	for (unsigned int i = 0; i < module->num_syms; i++) {
		const struct kernel_symbol *symbol = &module->syms[i];

		if (!strcmp(offset_to_ptr(&symbol->name_offset), name))
			return offset_to_ptr(&symbol->value_offset);
	}
	return NULL;
}

static void *find_setter(const struct module *module, const char *channel)
{
	char name[32];

	snprintf(name, sizeof(name), "%s_zem_set", channel);
	return find_export(module, name);
}

static void attach(struct module *module)
{
	mutex_lock(&zem_lock);
	zem = module;
	for (int i = 0; i < ZEM_CHANNEL_COUNT; i++)
		setters[i] = find_setter(module, channel_names[i]);
	mutex_unlock(&zem_lock);

	providers_attach(find_export(module, "get_all_kmemind_func"),
			 find_export(module, "display_error_zem_update"));
}

/* Its probes are unregistered already, so none of its code runs. */
static void detach(void)
{
	providers_detach();

	mutex_lock(&zem_lock);
	zem = NULL;
	mutex_unlock(&zem_lock);

	task_records_unlist();
	block_devices_release();
	leftovers_remove();
}

static int module_event(struct notifier_block *block, unsigned long event, void *data)
{
	struct module *module = data;

	if (event == MODULE_STATE_LIVE) {
		svp_announce_to(module);
	} else if (event == MODULE_STATE_GOING) {
		hooks_release(module);
		load_feed_release(module);
	}
	if (strcmp(module->name, "zem"))
		return NOTIFY_DONE;
	if (event == MODULE_STATE_COMING)
		attach(module);
	else if (event == MODULE_STATE_GOING)
		detach();
	return NOTIFY_OK;
}

static struct notifier_block module_watch = {.notifier_call = module_event};

int zem_symbols_init(struct dentry *directory)
{
	return register_module_notifier(&module_watch);
}

void zem_symbols_exit(void)
{
	unregister_module_notifier(&module_watch);
	block_devices_release();
}

zem_setter zem_get_setter(const char *channel)
{
	int row = match_string(channel_names, ZEM_CHANNEL_COUNT, channel);
	zem_setter setter = ERR_PTR(-ENODEV);

	if (row < 0)
		return ERR_PTR(-EINVAL);
	mutex_lock(&zem_lock);
	/*
	 * zem has no ring buffer to push into before it has started. The module loader changes the
	 * state with a plain store.
	 */
	if (zem && data_race(zem->state) == MODULE_STATE_LIVE && setters[row] &&
	    try_module_get(zem))
		setter = setters[row];
	mutex_unlock(&zem_lock);
	return setter;
}

void zem_put(void)
{
	module_put(zem);
}
