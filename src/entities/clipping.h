// Clipping is one named, reusable content item of a catalog with its ordered ClippingData items
// (the content itself, each tagged with a data type); Clippings is a list of clippings, the
// result of queries and searches. All are reference objects (std::shared_ptr) without any tie to
// the store. Not thread-safe: use an object from one thread at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "entities/collection.h"
#include "entities/store_key.h"
#include "util/date.h"

namespace clipcat {

class Clipping;
class ClippingData;
using ClippingCollection = Collection<std::shared_ptr<Clipping>>;
using ClippingDataCollection = Collection<std::shared_ptr<ClippingData>>;

namespace internal {
struct ClippingXml;
struct ClippingDataXml;
}  // namespace internal

// One content item of a clipping.
class ClippingData {
 public:
  ClippingData() = default;
  ClippingData(const ClippingData&) = delete;
  ClippingData& operator=(const ClippingData&) = delete;

  static std::shared_ptr<ClippingData> Create() { return std::make_shared<ClippingData>(); }

  // The content (RTF, text or an XML document), byte for byte.
  const std::string& RawData() const { return raw_data_; }
  void SetRawData(std::string sNewValue) { raw_data_ = std::move(sNewValue); }

  // A row of the catalog's clipping data type table (1 RTF for Word, 2 text, 3 XML for Excel,
  // 4 XML for Word, 5 XML catalog).
  int32_t ClippingDataType() const { return clipping_data_type_; }
  void SetClippingDataType(int32_t lNewValue) { clipping_data_type_ = lNewValue; }

  // Set by the store when it read the item from a compressed field. Not part of the XML form.
  bool IsCompressed() const { return is_compressed_; }
  void SetIsCompressed(StoreKey, bool bNewValue) { is_compressed_ = bNewValue; }

  // The item as the clipping form writes it:
  // <clippingdataitem datatype="2">content</clippingdataitem>. Content that XML text cannot
  // carry (control characters, invalid UTF-8 ...) is written in base64 instead:
  // <clippingdataitem datatype="2" encoding="base64">AQI=</clippingdataitem>. Never raises.
  std::string XML() const;

  // Reads the content and type from a "clippingdataitem" element; IsCompressed is left as it is.
  // Raises 424 "Object required", changing nothing, for text that is not well formed or has
  // another root, an "encoding" other than "base64", or base64 that does not decode; 94 "Invalid
  // use of Null" without a "datatype" attribute and 13 "Type mismatch" when it is not a number,
  // in each case after the content has been replaced.
  void SetXML(const std::string& sNewValue);

 private:
  friend struct internal::ClippingDataXml;

  std::string raw_data_;
  bool is_compressed_ = false;
  int32_t clipping_data_type_ = 0;
};

class Clipping {
 public:
  // A clipping with empty texts, status 0, no data items, `Updated` the moment of construction
  // and `Accessed` day zero (1899-12-30 00:00:00).
  Clipping();
  Clipping(const Clipping&) = delete;
  Clipping& operator=(const Clipping&) = delete;

  static std::shared_ptr<Clipping> Create() { return std::make_shared<Clipping>(); }

  // The item identifier, in whatever form the routing layer gives it ("15", "P7C15").
  const std::string& ID() const { return id_; }
  void SetID(std::string sNewValue) { id_ = std::move(sNewValue); }

  const std::string& GUID() const { return guid_; }
  void SetGUID(std::string sNewValue) { guid_ = std::move(sNewValue); }

  const std::string& FolderID() const { return folder_id_; }
  void SetFolderID(std::string sNewValue) { folder_id_ = std::move(sNewValue); }

  const std::string& Name() const { return name_; }
  void SetName(std::string sNewValue) { name_ = std::move(sNewValue); }

  const std::string& Description() const { return description_; }
  void SetDescription(std::string sNewValue) { description_ = std::move(sNewValue); }

  // Not part of the XML form: a clipping read from text has no keywords.
  const std::string& Keywords() const { return keywords_; }
  void SetKeywords(std::string sNewValue) { keywords_ = std::move(sNewValue); }

  // The folder path of the clipping, as the store builds it.
  const std::string& PathName() const { return path_name_; }
  void SetPathName(std::string sNewValue) { path_name_ = std::move(sNewValue); }

  // The clipping's category names as one text, as the store composes it.
  const std::string& Categories() const { return categories_; }
  void SetCategories(std::string sNewValue) { categories_ = std::move(sNewValue); }

  // The status as clients see it, a 16-bit value. The store keeps 32 bits; a stored value
  // outside -32768 ... 32767 makes this raise 6 "Overflow".
  int16_t ClippingStatus() const;
  void SetClippingStatus(StoreKey, int32_t lNewValue) { status_ = lNewValue; }

  Date Updated() const { return updated_; }
  void SetUpdated(StoreKey, Date tNewValue) { updated_ = tNewValue; }

  // The last access; day zero when none is known.
  Date Accessed() const { return accessed_; }
  void SetAccessed(StoreKey, Date tNewValue) { accessed_ = tNewValue; }

  // The content items, in order. Never null. The same list object is answered until it is
  // replaced by SetClippingData or by SetXML, which gives the clipping a new list.
  const std::shared_ptr<ClippingDataCollection>& ClippingData() const { return clipping_data_; }
  // Raises 91 "Object variable or With block variable not set" for nullptr.
  void SetClippingData(std::shared_ptr<ClippingDataCollection> vNewValue);

  // The clipping as one "clipping" element with a "clippingdata" child that holds one
  // "clippingdataitem" per item (an empty "clippingdata" when there are none), e.g.
  // <clipping ClippingID="15" GUID="" FolderID="3" Name="A" Description="" Status="1"
  // Updated="14:05:09 3 Mar 2002" lastaccessed="00:00:00 30 Dec 1899" Categories=""
  // PathName=""><clippingdata><clippingdataitem datatype="2">text</clippingdataitem>
  // </clippingdata></clipping> (without the line breaks). Items' content XML text cannot carry
  // is written as ClippingData::XML writes it. Raises 5 when a text property holds a character
  // XML cannot carry, 91 when an item is nullptr.
  std::string XML() const;

  // Replaces the properties (Keywords aside) and the data items from `sNewValue`. Missing
  // attributes take empty texts, 0 and the current time; unknown attributes are ignored.
  // Raises 424 "Object required", changing nothing, for text that is not well formed or whose
  // root is not "clipping"; 13 "Type mismatch" for a "Status" that is not a number, keeping the
  // properties read before it; 424 when the "clippingdata" element is missing, after the
  // properties and an emptied item list have been set; 94 or 13 for an item whose "datatype" is
  // missing or not a number, keeping the items read before it.
  void SetXML(const std::string& sNewValue);

 private:
  friend struct internal::ClippingXml;

  std::string id_;
  std::string guid_;
  std::string folder_id_;
  std::string name_;
  std::string description_;
  int32_t status_ = 0;
  std::string keywords_;
  Date updated_;
  Date accessed_;
  std::string path_name_;
  std::string categories_;
  std::shared_ptr<ClippingDataCollection> clipping_data_;
};

// An ordered list of clippings (positions from 1, no keys, duplicates allowed).
class Clippings {
 public:
  Clippings();
  Clippings(const Clippings&) = delete;
  Clippings& operator=(const Clippings&) = delete;

  static std::shared_ptr<Clippings> Create() { return std::make_shared<Clippings>(); }

  // The underlying collection (the interface's "Clippings" property). Never null;
  // ClearClippings and SetXML replace it with a new one.
  const std::shared_ptr<ClippingCollection>& Items() const { return clippings_; }

  // "<clippings>", each member's XML in order, "</clippings>". Raises as Clipping::XML does.
  std::string XML() const;

  // Clears the list, then appends a clipping for each "clipping" element under the root
  // "clippings". Raises 424 "Object required" for text that is not well formed, another root,
  // or a member that is not a "clipping" element (members read before it stay); otherwise
  // raises as Clipping::SetXML does.
  void SetXML(const std::string& sNewValue);

  // Drops the collection and starts a new empty one.
  void ClearClippings();

  // Appends each clipping of `colClippings`, in its order: the same objects, not copies.
  // Appending a list to itself doubles it. Raises 91 for nullptr.
  void AddClippings(const std::shared_ptr<Clippings>& colClippings);

  // Appends `oClipping` (nullptr included, which then makes XML raise 91).
  void AddClipping(std::shared_ptr<Clipping> oClipping);

 private:
  std::shared_ptr<ClippingCollection> clippings_;
};

}  // namespace clipcat
