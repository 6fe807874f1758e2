#pragma once

#include "commit/commit_info.h"

// What one provider is told of a commit. Inside the agent it stands on the stack: a commit must not fail.
struct vorn_commit_info {
  vorn_instances *before;
  vorn_instances *after;
  vorn_changes *changes;
  vorn_actions *actions;
  void *data;
};
