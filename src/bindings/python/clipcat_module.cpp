// The Python module `clipcat` over the C++ interface:
//
//   import clipcat
//   catalog = clipcat.open("notes.db")
//   for hit in catalog.search("late payment"): print(hit.id, hit.name)
//
// Errors are clipcat.Error, with number, source and description. Dates are naive datetime values
// in local time (pybind11's conversion of std::chrono::system_clock). A catalog is closed by
// close(), by the end of a with block, or when it is collected.
#include <clipcat/clipcat.h>
#include <pybind11/chrono.h>
#include <pybind11/pybind11.h>
#include <pybind11/stl.h>

#include <string>

namespace py = pybind11;

namespace {

// How a value shows in the interpreter: "<Folder 4 Mail>".
template <typename Value>
std::string Describe(const char* kind, const Value& value) {
  return std::string("<") + kind + " " + value.id + " " + value.name + ">";
}

void RegisterError(py::module_& module) {
  static py::exception<clipcat::Error> error_type(module, "Error");
  py::register_exception_translator([](std::exception_ptr raised) {
    try {
      if (raised) std::rethrow_exception(raised);
    } catch (const clipcat::Error& error) {
      py::object instance = py::reinterpret_borrow<py::object>(error_type.ptr())(error.what());
      instance.attr("number") = error.number();
      instance.attr("source") = error.source();
      instance.attr("description") = error.description();
      PyErr_SetObject(error_type.ptr(), instance.ptr());
    }
  });
}

void RegisterValues(py::module_& module) {
  py::class_<clipcat::DataItem>(module, "DataItem")
      .def(py::init([](int32_t type, std::string content) {
             return clipcat::DataItem{type, {}, std::move(content)};
           }),
           py::arg("type"), py::arg("content"))
      .def_readonly("type", &clipcat::DataItem::type)
      .def_readonly("type_name", &clipcat::DataItem::type_name)
      .def_property_readonly("content",
                             [](const clipcat::DataItem& item) { return py::bytes(item.content); });
  py::class_<clipcat::Folder>(module, "Folder")
      .def_readonly("id", &clipcat::Folder::id)
      .def_readonly("name", &clipcat::Folder::name)
      .def_readonly("description", &clipcat::Folder::description)
      .def_readonly("parent_id", &clipcat::Folder::parent_id)
      .def_readonly("path", &clipcat::Folder::path)
      .def_readonly("linked", &clipcat::Folder::linked)
      .def_readonly("offline", &clipcat::Folder::offline)
      .def_readonly("updated", &clipcat::Folder::updated)
      .def_readonly("children", &clipcat::Folder::children)
      .def("__repr__", [](const clipcat::Folder& f) { return Describe("Folder", f); });
  py::class_<clipcat::Clipping>(module, "Clipping")
      .def_readonly("id", &clipcat::Clipping::id)
      .def_readonly("folder_id", &clipcat::Clipping::folder_id)
      .def_readonly("name", &clipcat::Clipping::name)
      .def_readonly("description", &clipcat::Clipping::description)
      .def_readonly("path", &clipcat::Clipping::path)
      .def_readonly("updated", &clipcat::Clipping::updated)
      .def_readonly("accessed", &clipcat::Clipping::accessed)
      .def_readonly("items", &clipcat::Clipping::items)
      .def("__repr__", [](const clipcat::Clipping& c) { return Describe("Clipping", c); });
  py::class_<clipcat::SearchHit>(module, "SearchHit")
      .def_readonly("id", &clipcat::SearchHit::id)
      .def_readonly("name", &clipcat::SearchHit::name)
      .def_readonly("path", &clipcat::SearchHit::path)
      .def_readonly("snippet", &clipcat::SearchHit::snippet)
      .def_readonly("score", &clipcat::SearchHit::score)
      .def("__repr__", [](const clipcat::SearchHit& h) { return Describe("SearchHit", h); });
}

// Every folder of the tree, depth first, each before the folders below it.
void Walk(const std::vector<clipcat::Folder>& folders, py::list& out) {
  for (const auto& folder : folders) {
    out.append(folder);
    Walk(folder.children, out);
  }
}

// Closes `catalog` now rather than when Python collects it: a thread has one open catalog.
void Close(clipcat::Catalog& catalog) { clipcat::Catalog closed = std::move(catalog); }

void RegisterCatalog(py::module_& module) {
  py::class_<clipcat::Catalog>(module, "Catalog")
      .def("folders", &clipcat::Catalog::Folders,
           "The folder tree: the top folders, each with the folders below it in children.")
      .def(
          "walk",
          [](clipcat::Catalog& catalog) {
            py::list all;
            Walk(catalog.Folders(), all);
            return all;
          },
          "Every folder of the tree, each before the folders below it.")
      .def("clippings", &clipcat::Catalog::ClippingsIn, py::arg("folder"),
           "The clippings of a folder (id or path), without their items.")
      .def("clipping", &clipcat::Catalog::GetClipping, py::arg("clipping"),
           "The clipping (id or path) with its items.")
      .def("text", &clipcat::Catalog::Text, py::arg("clipping"), "The clipping's text.")
      .def(
          "search",
          [](clipcat::Catalog& catalog, const std::string& text, const std::string& folder,
             const std::string& category, int32_t limit) {
            return catalog.Search(text, {folder, category, limit});
          },
          py::arg("text"), py::arg("folder") = "", py::arg("category") = "", py::arg("limit") = 50,
          "Content search, best first.")
      .def("record_use", &clipcat::Catalog::RecordUse, py::arg("clipping"),
           "Counts the clipping as used now (first in history).")
      .def("history", &clipcat::Catalog::History, py::arg("limit") = 20,
           "The clippings used most recently, most recent first.")
      .def("add_folder", &clipcat::Catalog::AddFolder, py::arg("parent"), py::arg("name"))
      .def(
          "add_clipping",
          [](clipcat::Catalog& catalog, const std::string& folder, const std::string& name,
             const py::object& text, const std::string& description,
             const std::vector<clipcat::DataItem>& items) {
            clipcat::NewClipping clipping{name, description, items};
            if (!text.is_none()) {
              clipping.items.insert(clipping.items.begin(),
                                    clipcat::DataItem{2, {}, text.cast<std::string>()});
            }
            return catalog.AddClipping(folder, clipping);
          },
          py::arg("folder"), py::arg("name"), py::arg("text") = py::none(),
          py::arg("description") = "", py::arg("items") = std::vector<clipcat::DataItem>{},
          "Adds a clipping with a plain text item (text) and any other items.")
      .def("close", &Close, "Closes the catalog; later calls raise clipcat.Error.")
      .def(
          "__enter__", [](clipcat::Catalog& catalog) -> clipcat::Catalog& { return catalog; },
          py::return_value_policy::reference)
      .def("__exit__", [](clipcat::Catalog& catalog, const py::args&) { Close(catalog); });
}

}  // namespace

PYBIND11_MODULE(clipcat, module) {
  module.doc() = "Catalogs of named, reusable clippings.";
  module.attr("__version__") = CLIPCAT_VERSION_STRING;
  RegisterError(module);
  RegisterValues(module);
  RegisterCatalog(module);
  module.def("open", &clipcat::Catalog::Open, py::arg("path_or_uri") = "",
             "Opens a catalog: a file path, a postgresql:// URI, or '' for the default one.");
  module.def("create", &clipcat::Catalog::Create, py::arg("path_or_uri"),
             py::arg("top_folder") = "", "Makes a new catalog and opens it.");
}
