// Where the configurations lie.
#pragma once

namespace vorn {

constexpr char startup_directory[] = "/etc/config";
constexpr char startup_path[] = "/etc/config/config.xml";
constexpr char copy_path[] = "/etc/config/config.xml.new";  // while the startup file is written
constexpr char part_path[] = "/etc/config/config.xml.part"; // of that copy, while it is written itself
constexpr char kept_path[] = "/etc/config/config.xml.bad";  // the last startup file that was given up
constexpr char backup_path[] = "/etc/config/backup_config.xml";
constexpr char default_path[] = "/etc/defaultconfig.xml";
constexpr char rescue_path[] = "/etc/rescueconfig.xml";

} // namespace vorn
