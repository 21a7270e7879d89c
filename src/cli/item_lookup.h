// Finding the folders, clippings and categories that a command line names, through a command's
// Session. Not thread-safe: a Session belongs to one thread.
#pragma once

#include <memory>
#include <string>

#include "cli/session.h"
#include "entities/category.h"
#include "entities/clipping.h"
#include "entities/folder.h"

namespace clipcat::cli {

// Raises 5 "Invalid procedure call or argument" (source "clipcat") with `what` as the
// description: a request the catalog cannot carry out as asked.
[[noreturn]] void Refuse(const std::string& what);

// The folder `id`, or nullptr when the id names none (it may name a clipping).
std::shared_ptr<Folder> FolderOrNothing(Session& session, const std::string& id);

// The folder `id`; refuses an id that names no folder.
std::shared_ptr<Folder> RequireFolder(Session& session, const std::string& id);

// The clipping `id` (with its data items when `data`); refuses an id that names no clipping.
std::shared_ptr<Clipping> RequireClipping(Session& session, const std::string& id, bool data);

// The first category of the catalog holding `item_id` named `name` (without regard to case), or
// nullptr.
std::shared_ptr<Category> CategoryNamed(Session& session, const std::string& item_id,
                                        const std::string& name);

}  // namespace clipcat::cli
