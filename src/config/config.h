/* The running configuration and its way to and from the startup file "/etc/config/config.xml". */
#ifndef VORN_CONFIG_CONFIG_H
#define VORN_CONFIG_CONFIG_H

#include "core/export.h"
#include "model/types.h"

VORN_BEGIN_DECLS

struct _xmlDoc;
struct _xmlNode;

/* Returns the running configuration, which belongs to the agent; null before one was loaded. */
VORN_API vorn_instances *vorn_config_get_running(void) VORN_NOEXCEPT;

/* Makes `instances` the running configuration, which the agent then owns, and frees the earlier one with all
 * its instances; null, and the running one itself, change nothing. Refused, which is logged, while a request,
 * a commit or a load is under way: `instances` then stays the caller's. Returns the running configuration. */
VORN_API vorn_instances *vorn_config_replace_running(vorn_instances *instances) VORN_NOEXCEPT;

/* Writes the persistent part of the running configuration to the file `path`, in place. Returns 0, or 1 with
 * the reason logged and the file as it was. */
VORN_API int vorn_config_dump_running(const char *path) VORN_NOEXCEPT;

/* Writes the running configuration to the startup file, in place, then calls sync(2) and tells the
 * subscribers. A device that dies meanwhile comes up on the old configuration or the new one. Returns 0, or 1
 * with the reason logged, the file as it was, and nobody told. That includes a configuration that was loaded
 * while memory was short: it is not saved until the next start. */
VORN_API int vorn_config_copy_running_to_startup(void) VORN_NOEXCEPT;

/* Loads the startup file as a new running configuration and commits it; the earlier one is not freed. A file
 * that cannot be read is first replaced by the default or the rescue file, but not when memory is short. What
 * is wrong in the file is reported and left out. Returns 1 when no file could be read, else 0, also when
 * memory ran out, which is logged; in both cases the running configuration stays as it was. Refused with 1,
 * which is logged, while a request, a commit or a load is under way. */
VORN_API int vorn_config_copy_startup_to_running(void) VORN_NOEXCEPT;

/* Counts this boot as failed, and has the loop confirm it 20 seconds later. After five boots in a row that
 * nobody has confirmed it removes the startup file, so that the default is used. A boot that finds the
 * counter and a backup to restore removes the counter instead. Returns 0, or -1 when the counter
 * "/etc/config/configBootFailures" cannot be opened or made. */
VORN_API int vorn_config_init(void) VORN_NOEXCEPT;

/* Confirms the boot by removing the counter; vorn_config_init has the loop call it. Both arguments are
 * ignored. */
VORN_API void vorn_config_delay_check(void *eloop_data, void *user_data) VORN_NOEXCEPT;

/* Writes the running configuration, with its checksum, as the default "/etc/defaultconfig.xml". Returns 0, or
 * 1 with the reason logged. */
VORN_API int vorn_config_copy_running_to_default(void) VORN_NOEXCEPT;

/* Replaces the startup file by the body of the default or, when that cannot be used, by the rescue file, and
 * tells the subscribers. Returns 0 when the default is good, else 1 with the reason logged, at debug level 1
 * and above when there is none. A copy that fails is logged and does not change the result. */
VORN_API int vorn_config_copy_default_to_startup(void) VORN_NOEXCEPT;

/* Copies the rescue file "/etc/rescueconfig.xml", which comes with the firmware, over the startup file, and
 * tells the subscribers. Returns 0, also when the copy fails, which is logged. */
VORN_API int vorn_config_copy_rescue_to_startup(void) VORN_NOEXCEPT;

/* Removes the default, so that the rescue file is used instead. Returns 0, or 1 with the reason logged. */
VORN_API int vorn_config_copy_rescue_to_default(void) VORN_NOEXCEPT;

/* Loads the backup file "/etc/config/backup_config.xml" as a new running configuration and commits it; the
 * earlier one is not freed. Returns 0, also when the file cannot be read, which is logged, or memory runs
 * out; then nothing changes. Refused with 1, which is logged, while a request, a commit or a load is under
 * way. */
VORN_API int vorn_config_copy_backup_to_running(void) VORN_NOEXCEPT;

/* Returns the name of the class to instantiate for an element of a configuration document or an insert: for
 * an abstract class, the subclass that the element's identifier property names. The text belongs to the
 * document. Null when the element is null, or, with the reason logged, when there is no such class. `doc` is
 * not used. */
VORN_API const char *vorn_config_get_class_name(const struct _xmlDoc *doc,
                                                const struct _xmlNode *element) VORN_NOEXCEPT;

/* Returns the bytes of the startup file, or a document with an "error" element that says why they cannot be
 * read; null when memory runs out. The caller frees the text with free(3). */
VORN_API char *vorn_config_get_startup_as_xml(void) VORN_NOEXCEPT;

VORN_END_DECLS

#endif
