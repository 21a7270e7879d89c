// The commands of clipcat, each a small unit binding its arguments and options to the handler
// that does the work (commands.h).
#include <CLI/CLI.hpp>
#include <iostream>
#include <optional>

#include "automation/entity_objects.h"
#include "cli/call_command.h"
#include "cli/command.h"
#include "cli/item_arguments.h"
#include "library/catalog_location.h"

namespace clipcat::cli {
namespace {

class CallUnit final : public Command {
 public:
  CallUnit()
      : Command("call", "Call a member of a public class by name: call PROGID MEMBER [ARG ...]") {}
  void Declare(CLI::App& command) override {
    command.prefix_command();
    // Everything after MEMBER is an argument of the member, even text that looks like an option.
    command.fallthrough(false);
    command_ = &command;
  }
  // The default catalog is made only for a call that names a member.
  bool UsesDefaultCatalog() const override { return false; }
  void Run(const Context& context) override {
    const auto rest = command_->remaining();
    if (rest.size() < 2) throw UsageError("clipcat call PROGID MEMBER [ARG ...]");
    EnsureDefaultCatalog(context.location);
    RunCall(Wrap(ConnectionDetailsFor(context.location)).AsObject(), rest[0], rest[1],
            std::vector<std::string>(rest.begin() + 2, rest.end()), context.out);
  }

 private:
  CLI::App* command_ = nullptr;
};

class InitUnit final : public Command {
 public:
  InitUnit()
      : Command("init",
                "Create the catalog (a file, or a catalog on a server named by --connection) "
                "with its top folder") {}
  void Declare(CLI::App& command) override {
    command.add_option("--name", name_, "Name of the top folder (default: the file's name)");
  }
  bool UsesDefaultCatalog() const override { return false; }
  void Run(const Context& context) override { InitCommand(context, name_); }

 private:
  std::string name_;
};

class TourUnit final : public Command {
 public:
  TourUnit()
      : Command("tour",
                "Show the tree, a search and a clipping (seeds a new default catalog with a "
                "sample library)") {}
  void Declare(CLI::App&) override {}
  bool UsesDefaultCatalog() const override { return false; }
  void Run(const Context& context) override { TourCommand(context); }
};

class TreeUnit final : public Command {
 public:
  TreeUnit() : Command("tree", "Show the folder tree with ids") {}
  void Declare(CLI::App&) override {}
  void Run(const Context& context) override { TreeCommand(context); }
};

class ListUnit final : public Command {
 public:
  ListUnit() : Command("ls", "List the clippings of a folder") {}
  void Declare(CLI::App& command) override {
    command.add_option("FOLDER", folder_, "Folder id or path")->required();
  }
  void Run(const Context& context) override {
    ListCommand(context, Resolved(context, folder_, ItemKind::kFolder));
  }

 private:
  std::string folder_;
};

class ShowUnit final : public Command {
 public:
  ShowUnit()
      : Command("show", "Show a clipping with its data items (counts as a use in the history)") {}
  void Declare(CLI::App& command) override {
    command.add_option("ID", id_, "Clipping id or path")->required();
    command.add_option("--raw", raw_type_, "Write only the content of the data item of this type");
    command.add_option("--version", version_, "Show this earlier version (see versions)");
  }
  void Run(const Context& context) override {
    ShowCommand(context, Resolved(context, id_, ItemKind::kClipping), raw_type_, true, version_);
  }

 private:
  std::string id_;
  int raw_type_ = 0;
  std::optional<int> version_;
};

// cat and copy: one unit each, the same arguments.
class ContentUnit final : public Command {
 public:
  explicit ContentUnit(bool copy)
      : Command(copy ? "copy" : "cat",
                copy ? "Put a clipping's text on the clipboard (wl-copy, xclip or xsel); "
                       "counts as a use"
                     : "Write a clipping's text (or one item's bytes with --type) to standard "
                       "output"),
        copy_(copy) {}
  void Declare(CLI::App& command) override {
    command.add_option("ID", id_, "Clipping id or path")->required();
    command.add_option("--type", type_,
                       "This item's bytes: rtf, text, excel-xml, word-xml, catalog-xml or a "
                       "number (default: the plain text, else rich text or XML as text)");
  }
  void Run(const Context& context) override {
    const std::string id = Resolved(context, id_, ItemKind::kClipping);
    if (copy_) {
      CopyCommand(context, id, type_);
    } else {
      CatCommand(context, id, type_);
    }
  }

 private:
  bool copy_;
  std::string id_, type_;
};

class AddUnit final : public Command {
 public:
  AddUnit() : Command("add", "Add a clipping with one data item") {}
  void Declare(CLI::App& command) override {
    command.add_option("FOLDER", options_.folder, "Folder id or path")->required();
    command.add_option("NAME", options_.name, "Clipping name")->required();
    command.add_option("--type", options_.type,
                       "Data type: 1 RTF, 2 text (default), 3 Excel XML, "
                       "4 Word XML, 5 catalog XML");
    file_option_ =
        command.add_option("--file", file_, "Content from this file ('-' for standard input)");
    text_option_ = command.add_option("--text", text_, "Content given here");
    file_option_->excludes(text_option_);
    command.add_option("--description", options_.description, "Description");
  }
  void Run(const Context& context) override {
    // Only what was given: an empty --text is content, a missing one is not.
    if (file_option_->count() > 0) options_.file = file_;
    if (text_option_->count() > 0) options_.text = text_;
    options_.folder = Resolved(context, options_.folder, ItemKind::kFolder);
    AddCommand(context, options_);
  }

 private:
  AddOptions options_;
  std::string file_, text_;
  CLI::Option* file_option_ = nullptr;
  CLI::Option* text_option_ = nullptr;
};

class MakeFolderUnit final : public Command {
 public:
  MakeFolderUnit() : Command("mkdir", "Add a folder") {}
  void Declare(CLI::App& command) override {
    command.add_option("PARENT", parent_, "Parent folder id or path")->required();
    command.add_option("NAME", name_, "Folder name")->required();
  }
  void Run(const Context& context) override {
    MakeFolderCommand(context, Resolved(context, parent_, ItemKind::kFolder), name_);
  }

 private:
  std::string parent_, name_;
};

class RenameUnit final : public Command {
 public:
  RenameUnit() : Command("rename", "Rename a folder or clipping") {}
  void Declare(CLI::App& command) override {
    command.add_option("ID", id_, "Folder or clipping id")->required();
    command.add_option("NAME", name_, "New name")->required();
  }
  void Run(const Context& context) override {
    RenameCommand(context, Resolved(context, id_, ItemKind::kAny), name_);
  }

 private:
  std::string id_, name_;
};

class MoveUnit final : public Command {
 public:
  MoveUnit()
      : Command("mv",
                "Move a folder (with everything below it) or a clipping into another folder; "
                "it keeps its id, except into another catalog, where it is copied") {}
  void Declare(CLI::App& command) override {
    command.add_option("ID", id_, "Folder or clipping id or path")->required();
    command.add_option("PARENT", parent_, "Id or path of the folder to move it into")->required();
  }
  void Run(const Context& context) override {
    MoveCommand(context, Resolved(context, id_, ItemKind::kAny),
                Resolved(context, parent_, ItemKind::kFolder));
  }

 private:
  std::string id_, parent_;
};

class RemoveUnit final : public Command {
 public:
  RemoveUnit()
      : Command("rm", "Delete a folder or clipping (marked deleted unless --permanently)") {}
  void Declare(CLI::App& command) override {
    command.add_option("ID", id_, "Folder or clipping id")->required();
    command.add_flag("--permanently", options_.permanently, "Remove the rows for good");
    command.add_flag("-f,--force", options_.force,
                     "Delete a folder with something below it without asking");
    command.add_flag("-n,--dry-run", options_.dry_run, "Say what would be deleted; change nothing");
  }
  void Run(const Context& context) override {
    RemoveCommand(context, Resolved(context, id_, ItemKind::kAny), options_);
  }

 private:
  std::string id_;
  RemoveOptions options_;
};

class SearchUnit final : public Command {
 public:
  SearchUnit()
      : Command("search",
                "Find clippings by the words in their content, name and description, best first") {}
  void Declare(CLI::App& command) override {
    command.add_option("TEXT", options_.query.text,
                       "Words to find (all of them); \"a phrase\", prefix*, -left-out, a OR b");
    command.add_option("--folder", options_.query.folders,
                       "Search this folder and those below it (with --names-only: repeatable)");
    command.add_option("--category", options_.query.categories,
                       "Only clippings in this category (with --names-only: repeatable, in any)");
    command.add_option("--type", options_.type,
                       "Only clippings with a data item of this type number");
    command.add_option("--limit", options_.limit, "At most this many results (default 50)");
    command.add_flag("--names-only", options_.names_only,
                     "Find TEXT anywhere in names and descriptions instead ('*' matches anything)");
    command.add_flag("--subfolders", options_.query.subfolders,
                     "With --names-only: search the folders below too");
    command.add_flag("--any-category", options_.query.any_category,
                     "With --names-only: a clipping in one of the categories matches whatever "
                     "its text");
    command.add_flag("--local", local_,
                     "Search only the selected catalog, not the catalogs linked into it");
  }
  void Run(const Context& context) override {
    options_.query.folders = Resolved(context, options_.query.folders, ItemKind::kFolder);
    options_.query.linked = !local_;
    SearchCommand(context, options_);
  }

 private:
  SearchOptions options_;
  bool local_ = false;
};

class TagUnit final : public Command {
 public:
  explicit TagUnit(bool untag)
      : Command(untag ? "untag" : "tag",
                untag ? "Take clippings out of a category"
                      : "Put clippings in a category (made if new; already there is no error)"),
        untag_(untag) {}
  void Declare(CLI::App& command) override {
    // The parser cannot end a list of positionals before a last one: the category is the last
    // word of the list.
    command
        .add_option("CLIPPING", words_,
                    "Clipping ids, one or more, then the category name (case does not matter)")
        ->required();
  }
  void Run(const Context& context) override {
    if (words_.size() < 2) {
      throw UsageError(name() +
                       " takes CLIPPING... CATEGORY: one or more clipping ids, then the "
                       "category name");
    }
    const std::string category = words_.back();
    words_.pop_back();
    TagCommand(context, Resolved(context, words_, ItemKind::kClipping), category, untag_);
  }

 private:
  bool untag_;
  std::vector<std::string> words_;
};

class CategoriesUnit final : public Command {
 public:
  CategoriesUnit() : Command("categories", "List the categories, those of linked catalogs too") {}
  void Declare(CLI::App& command) override {
    command.add_flag("--local", local_, "Only the selected catalog's categories");
  }
  void Run(const Context& context) override { CategoriesCommand(context, !local_); }

 private:
  bool local_ = false;
};

class HistoryUnit final : public Command {
 public:
  HistoryUnit() : Command("history", "The most recently used clippings (show counts as a use)") {}
  void Declare(CLI::App& command) override {
    command.add_option("--max", maximum_, "How many (default 20)");
    command.add_flag("--local", local_, "Only clippings of the selected catalog");
  }
  void Run(const Context& context) override { HistoryCommand(context, maximum_, !local_); }

 private:
  int maximum_ = 20;
  bool local_ = false;
};

class LinkUnit final : public Command {
 public:
  LinkUnit() : Command("link", "Link another catalog as a top-level folder") {}
  void Declare(CLI::App& command) override {
    command.add_option("NAME", name_, "Name of the linked folder")->required();
    auto* target = command.add_option(
        "CATALOG", target_, "The catalog's file, or a server's postgresql://USER@HOST/DB URI");
    auto* connection = command.add_option("--connection", connection_,
                                          "The linked catalog's connection details (XML) instead");
    target->excludes(connection);
    command.add_flag("--offline", offline_,
                     "Store the link without first checking that the catalog can be reached");
  }
  void Run(const Context& context) override {
    if (target_.empty() == connection_.empty()) {
      throw UsageError(
          "link takes NAME and the catalog: a file, a postgresql:// URI, or "
          "--connection XML");
    }
    LinkCommand(context, name_, target_, connection_, offline_);
  }

 private:
  std::string name_, target_, connection_;
  bool offline_ = false;
};

class TeamUnit final : public Command {
 public:
  TeamUnit()
      : Command("team",
                "Make a team catalog on a server ('team init URI') and let members in "
                "('team grant USER')") {}
  void Declare(CLI::App& command) override {
    init_ = command.add_subcommand("init", "Make the catalog and its reader and writer roles");
    init_->add_option("URI", uri_, "The server's postgresql://USER@HOST/DATABASE")->required();
    init_->add_option("--name", name_, "The top folder's name (default: Shared)");
    grant_ = command.add_subcommand(
        "grant", "Let a role of the server use the selected team catalog (--catalog URI)");
    grant_->add_option("USER", user_, "The member's role on the server")->required();
    grant_->add_flag("--read-only", read_only_, "Only reading, no changes");
    command.require_subcommand(1);
  }
  void Run(const Context& context) override {
    if (init_->parsed()) {
      TeamInitCommand(context, uri_, name_);
    } else {
      TeamGrantCommand(context, user_, read_only_);
    }
  }

 private:
  CLI::App* init_ = nullptr;
  CLI::App* grant_ = nullptr;
  std::string uri_, name_, user_;
  bool read_only_ = false;
};

class UnlinkUnit final : public Command {
 public:
  UnlinkUnit() : Command("unlink", "Remove a linked folder and its catalog record") {}
  void Declare(CLI::App& command) override {
    command.add_option("FOLDER", folder_, "Linked folder id")->required();
  }
  void Run(const Context& context) override {
    UnlinkCommand(context, Resolved(context, folder_, ItemKind::kFolder));
  }

 private:
  std::string folder_;
};

class TrashUnit final : public Command {
 public:
  TrashUnit() : Command("trash", "List what was deleted; 'trash empty' removes it for good") {}
  void Declare(CLI::App& command) override {
    command.add_option("--folder", folder_, "The trash of the catalog this linked folder links");
    empty_ = command.add_subcommand("empty", "Remove what is in the trash for good");
    empty_->add_option("--older-than", older_than_,
                       "Only what was deleted longer ago than this (30d, 2w, 12h)");
    empty_->add_option("--folder", folder_, "The trash of the catalog this linked folder links");
  }
  void Run(const Context& context) override {
    const std::string folder = Resolved(context, folder_, ItemKind::kFolder);
    if (empty_->parsed()) {
      EmptyTrashCommand(context, older_than_, folder);
    } else {
      TrashCommand(context, folder);
    }
  }

 private:
  CLI::App* empty_ = nullptr;
  std::string folder_, older_than_;
};

class RestoreUnit final : public Command {
 public:
  RestoreUnit()
      : Command("restore", "Bring a deleted folder or clipping back where it was (see trash)") {}
  void Declare(CLI::App& command) override {
    command.add_option("ID", id_, "Folder or clipping id")->required();
    command.add_flag("--rename", rename_,
                     "When its name is taken meanwhile, restore it as \"NAME (restored)\"");
  }
  void Run(const Context& context) override { RestoreCommand(context, id_, rename_); }

 private:
  std::string id_;
  bool rename_ = false;
};

class VersionsUnit final : public Command {
 public:
  VersionsUnit()
      : Command("versions", "List the earlier versions of a clipping; --keep N sets how many") {}
  void Declare(CLI::App& command) override {
    command.add_option("ID", id_, "Clipping id or path");
    command.add_option("--keep", keep_,
                       "Keep at most this many versions per clipping (catalog-wide; default 50)");
  }
  void Run(const Context& context) override {
    if (id_.empty() && !keep_) throw CLI::RequiredError("ID");
    VersionsCommand(context, Resolved(context, id_, ItemKind::kClipping), keep_);
  }

 private:
  std::string id_;
  std::optional<int> keep_;
};

class DiffUnit final : public Command {
 public:
  DiffUnit()
      : Command("diff",
                "Line diff of a clipping's text: diff ID [N [M]] (newest version, or N, "
                "against now, or against M)") {}
  void Declare(CLI::App& command) override {
    command.add_option("ID", id_, "Clipping id or path")->required();
    command.add_option("N", from_, "The earlier version");
    command.add_option("M", to_, "The later version (default: now)");
  }
  void Run(const Context& context) override {
    DiffCommand(context, Resolved(context, id_, ItemKind::kClipping), from_, to_);
  }

 private:
  std::string id_;
  std::optional<int> from_, to_;
};

class RevertUnit final : public Command {
 public:
  RevertUnit() : Command("revert", "Make version N of a clipping current again") {}
  void Declare(CLI::App& command) override {
    command.add_option("ID", id_, "Clipping id or path")->required();
    command.add_option("N", version_, "Version number (see versions)")->required();
  }
  void Run(const Context& context) override {
    RevertCommand(context, Resolved(context, id_, ItemKind::kClipping), version_);
  }

 private:
  std::string id_;
  int version_ = 0;
};

class InfoUnit final : public Command {
 public:
  InfoUnit() : Command("info", "What the catalog's versions and trash hold") {}
  void Declare(CLI::App&) override {}
  void Run(const Context& context) override { InfoCommand(context); }
};

class ReindexUnit final : public Command {
 public:
  ReindexUnit() : Command("reindex", "Make the catalog's content index anew from its clippings") {}
  void Declare(CLI::App& command) override {
    command.add_option("--folder", folder_,
                       "A linked folder: make the index of the catalog it stands for");
  }
  void Run(const Context& context) override {
    ReindexCommand(context, Resolved(context, folder_, ItemKind::kFolder));
  }

 private:
  std::string folder_;
};

class ExportUnit final : public Command {
 public:
  ExportUnit()
      : Command("export",
                "Write the whole catalog (folders, clippings with data, categories, links) as "
                "one XML document") {}
  void Declare(CLI::App& command) override {
    command.add_option("FILE", file_, "Document to write (default: standard output)");
    command.add_flag("--with-history", with_history_,
                     "Also write the trash and the versions of every clipping");
    command.add_flag("--portable", portable_,
                     "Leave out ids and order everything by path and name, so that exports of "
                     "equal catalogs are equal byte for byte");
    command.add_flag("--skip-damaged", skip_damaged_,
                     "Write every clipping a damaged catalog can still give, list the others "
                     "and fail");
  }
  void Run(const Context& context) override {
    ExportCommand(context, file_, with_history_, portable_, skip_damaged_);
  }

 private:
  std::string file_;
  bool with_history_ = false;
  bool portable_ = false;
  bool skip_damaged_ = false;
};

class CheckUnit final : public Command {
 public:
  CheckUnit()
      : Command("check",
                "Check the catalog: integrity, rows that belong to nothing, stored content, "
                "schema; never writes") {}
  void Declare(CLI::App&) override {}
  bool UsesDefaultCatalog() const override { return false; }
  void Run(const Context& context) override { CheckCommand(context); }
};

class BackupUnit final : public Command {
 public:
  BackupUnit()
      : Command("backup", "Copy the file catalog, consistent while others write, into FILE") {}
  void Declare(CLI::App& command) override {
    command
        .add_option("FILE", file_,
                    "The copy to write (an existing catalog not in use is "
                    "replaced)")
        ->required();
  }
  bool UsesDefaultCatalog() const override { return false; }
  void Run(const Context& context) override { BackupCommand(context, file_); }

 private:
  std::string file_;
};

class ImportUnit final : public Command {
 public:
  ImportUnit()
      : Command("import",
                "Add a document that export wrote, a JSON document or a directory of files; "
                "into a new catalog an export gives the same catalog") {}
  void Declare(CLI::App& command) override {
    command
        .add_option("FILE", file_,
                    "Document (XML or .json) or directory to read ('-' for standard input)")
        ->required();
    command.add_option("--into", into_, "Folder to add it to (default: the catalog's top folder)");
    command.add_flag("--with-history", with_history_,
                     "Also add the document's trash and versions (left out without it)");
    command
        .add_option("--on-conflict", on_conflict_,
                    "What to do with a name already taken: fail (default), skip, replace, rename")
        ->check(CLI::IsMember({"fail", "skip", "replace", "rename"}));
  }
  void Run(const Context& context) override {
    ImportCommand(context, file_, Resolved(context, into_, ItemKind::kFolder), with_history_,
                  on_conflict_);
  }

 private:
  std::string file_, into_;
  std::string on_conflict_ = "fail";
  bool with_history_ = false;
};

class ServeUnit final : public Command {
 public:
  ServeUnit()
      : Command("serve",
                "Serve the catalog over HTTP: a JSON API for programs (see docs/http.md)") {}
  void Declare(CLI::App& command) override {
    command.add_option("--listen", options_.listen,
                       "Address and port to listen on (default 127.0.0.1:8640)");
    command.add_option("--token-file", options_.token_file,
                       "File whose first line is the token every request must send as "
                       "'Authorization: Bearer TOKEN' (required off loopback)");
    command.add_option("--allow-origin", options_.allow_origin,
                       "Let web pages from this origin call the API (CORS; off by default)");
  }
  void Run(const Context& context) override { ServeCommand(context, options_); }

 private:
  ServeOptions options_;
};

}  // namespace

std::vector<std::unique_ptr<Command>> AllCommands() {
  std::vector<std::unique_ptr<Command>> commands;
  commands.push_back(std::make_unique<CallUnit>());
  commands.push_back(std::make_unique<InitUnit>());
  commands.push_back(std::make_unique<TourUnit>());
  commands.push_back(std::make_unique<TreeUnit>());
  commands.push_back(std::make_unique<ListUnit>());
  commands.push_back(std::make_unique<ShowUnit>());
  commands.push_back(std::make_unique<ContentUnit>(false));
  commands.push_back(std::make_unique<ContentUnit>(true));
  commands.push_back(std::make_unique<AddUnit>());
  commands.push_back(std::make_unique<MakeFolderUnit>());
  commands.push_back(std::make_unique<RenameUnit>());
  commands.push_back(std::make_unique<MoveUnit>());
  commands.push_back(std::make_unique<RemoveUnit>());
  commands.push_back(std::make_unique<SearchUnit>());
  commands.push_back(std::make_unique<TrashUnit>());
  commands.push_back(std::make_unique<RestoreUnit>());
  commands.push_back(std::make_unique<VersionsUnit>());
  commands.push_back(std::make_unique<DiffUnit>());
  commands.push_back(std::make_unique<RevertUnit>());
  commands.push_back(std::make_unique<ReindexUnit>());
  commands.push_back(std::make_unique<TagUnit>(false));
  commands.push_back(std::make_unique<TagUnit>(true));
  commands.push_back(std::make_unique<CategoriesUnit>());
  commands.push_back(std::make_unique<HistoryUnit>());
  commands.push_back(std::make_unique<InfoUnit>());
  commands.push_back(std::make_unique<LinkUnit>());
  commands.push_back(std::make_unique<UnlinkUnit>());
  commands.push_back(std::make_unique<TeamUnit>());
  commands.push_back(std::make_unique<ExportUnit>());
  commands.push_back(std::make_unique<ImportUnit>());
  commands.push_back(std::make_unique<CheckUnit>());
  commands.push_back(std::make_unique<BackupUnit>());
  commands.push_back(std::make_unique<ServeUnit>());
  return commands;
}

}  // namespace clipcat::cli
