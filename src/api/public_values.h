// The plain values of the C++ interface (<clipcat/items.h>) made from the services' entities.
#pragma once

#include <clipcat/items.h>

#include <chrono>
#include <optional>
#include <string>

#include "entities/clipping.h"
#include "entities/folder.h"
#include "library/clipping_search.h"
#include "util/date.h"

namespace clipcat::api {

// A catalog date as a moment (util/date.h UnixSeconds); nothing for day zero, which stands for
// "never".
std::chrono::sys_seconds MomentOf(const Date& date);
std::optional<std::chrono::sys_seconds> MomentOrNothing(const Date& date);

// "Mail/Replies" and "Signature" give "Mail/Replies/Signature"; the top folder's "" gives the name.
std::string JoinPath(const std::string& folder_path, const std::string& name);

// `folder` and, with `children`, the folders below it, their paths made from `path`.
v0::Folder PublicFolder(const Folder& folder, const std::string& path, bool children);

// `clipping`, with its items when `items`, in the folder whose path is `folder_path`.
v0::Clipping PublicClipping(const Clipping& clipping, const std::string& folder_path, bool items);

v0::SearchHit PublicHit(const FoundClipping& found, const std::string& folder_path);

}  // namespace clipcat::api
