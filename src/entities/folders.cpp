#include <utility>

#include "entities/entity_xml_internal.h"
#include "entities/folder.h"
#include "entities/folder_names.h"
#include "util/errors.h"

namespace clipcat {

Folders::Folders() : folders_(std::make_shared<FolderCollection>()) {}

std::string Folders::XML() const {
  return internal::ListXml<Folder, internal::FolderXml>(folder_xml::kFoldersElement, *folders_);
}

void Folders::SetXML(const std::string& sNewValue) {
  ClearFolders();
  internal::ReadList<Folder, internal::FolderXml>(sNewValue, folder_xml::kFoldersElement,
                                                  folder_xml::kFolderElement, *folders_);
}

void Folders::ClearFolders() { folders_ = std::make_shared<FolderCollection>(); }

void Folders::AddFolders(const std::shared_ptr<Folders>& colFolders) {
  if (!colFolders) RaiseRuntimeError(err::kObjectVariableNotSet);
  for (std::shared_ptr<Folder>& folder : colFolders->folders_->Snapshot()) {
    folders_->Add(std::move(folder));
  }
}

void Folders::AddFolder(std::shared_ptr<Folder> oFolder) { folders_->Add(std::move(oFolder)); }

}  // namespace clipcat
