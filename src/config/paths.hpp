// Where the configurations lie.
#pragma once

namespace vorn {

constexpr char startup_path[] = "/etc/config/config.xml";
constexpr char backup_path[] = "/etc/config/backup_config.xml";
constexpr char default_path[] = "/etc/defaultconfig.xml";
constexpr char rescue_path[] = "/etc/rescueconfig.xml";

} // namespace vorn
