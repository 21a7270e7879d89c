"""The Python module as a script uses it: open or create a catalog, walk its folders, read, add
and search clippings, and the errors it raises."""
import datetime
import os
import shutil
import tempfile
import unittest

import clipcat

CATALOG_CANNOT_BE_OPENED = -2147220994
INVALID_REQUEST = 5
CLIPPING_NAME_NOT_UNIQUE = -2147220996


class ModuleTest(unittest.TestCase):
    def setUp(self):
        self.dir = tempfile.mkdtemp(prefix="clipcat_python_")
        self.path = os.path.join(self.dir, "shelf.db")
        with clipcat.create(self.path, "Shelf") as catalog:
            catalog.add_folder("", "Mail")
            catalog.add_folder("Mail", "Replies")
            catalog.add_clipping("Mail", "Reminder", "Your late payment is overdue.")
            catalog.add_clipping("", "Lunch", "See you at noon.")

    def tearDown(self):
        shutil.rmtree(self.dir)

    def test_search_finds_the_late_payment(self):
        with clipcat.open(self.path) as catalog:
            hits = catalog.search("late payment")
            self.assertEqual([hit.name for hit in hits], ["Reminder"])
            self.assertEqual(hits[0].path, "Mail/Reminder")
            self.assertIn("[late]", hits[0].snippet)
            self.assertGreater(hits[0].score, 0)
            self.assertEqual(len(catalog.search("noon OR payment")), 2)
            self.assertEqual(len(catalog.search("payment", folder="Mail/Replies")), 0)

    def test_folders_walk_the_tree(self):
        with clipcat.open(self.path) as catalog:
            tops = catalog.folders()
            self.assertEqual([top.name for top in tops], ["Shelf"])
            self.assertEqual([child.name for child in tops[0].children], ["Mail"])
            self.assertEqual([f.path for f in catalog.walk()], ["", "Mail", "Mail/Replies"])
            self.assertIsInstance(tops[0].updated, datetime.datetime)

    def test_clippings_are_read_with_their_items(self):
        with clipcat.open(self.path) as catalog:
            listed = catalog.clippings("Mail")
            self.assertEqual([c.name for c in listed], ["Reminder"])
            self.assertEqual(listed[0].items, [])
            clipping = catalog.clipping("Mail/Reminder")
            self.assertEqual(clipping.id, listed[0].id)
            self.assertEqual([(i.type, i.type_name) for i in clipping.items], [(2, "text")])
            self.assertEqual(clipping.items[0].content, b"Your late payment is overdue.")
            self.assertIsNone(clipping.accessed)
            self.assertEqual(catalog.text(clipping.id), "Your late payment is overdue.")

    def test_adding_clippings_with_text_and_items(self):
        with clipcat.open(self.path) as catalog:
            added = catalog.add_clipping(
                "Mail/Replies", "Thanks", "Merci, ça va.", description="Short thanks",
                items=[clipcat.DataItem(1, "{\\rtf1 Merci}")])
            self.assertEqual(added.path, "Mail/Replies/Thanks")
            read = catalog.clipping(added.id)
            self.assertEqual(read.description, "Short thanks")
            self.assertEqual([i.type for i in read.items], [2, 1])
            self.assertEqual(catalog.text("Mail/Replies/Thanks"), "Merci, ça va.")
            catalog.record_use(added.id)
            self.assertEqual([c.id for c in catalog.history()], [added.id])

    def test_errors_carry_number_source_and_description(self):
        with self.assertRaises(clipcat.Error) as raised:
            clipcat.open(os.path.join(self.dir, "missing.db"))
        self.assertEqual(raised.exception.number, CATALOG_CANNOT_BE_OPENED)
        self.assertFalse(os.path.exists(os.path.join(self.dir, "missing.db")))
        with clipcat.open(self.path) as catalog:
            with self.assertRaises(clipcat.Error) as raised:
                catalog.add_clipping("", "Lunch", "again")
            self.assertEqual(raised.exception.number, CLIPPING_NAME_NOT_UNIQUE)
            self.assertEqual(catalog.text("Lunch"), "See you at noon.")
            with self.assertRaises(clipcat.Error) as raised:
                catalog.clipping("Mail/Nothing")
            self.assertEqual(raised.exception.number, INVALID_REQUEST)
            self.assertEqual(raised.exception.source, "clipcat")
            self.assertIn("Nothing", raised.exception.description)
            with self.assertRaises(clipcat.Error):
                catalog.search("   ")

    def test_a_closed_catalog_refuses_calls_and_frees_the_thread(self):
        catalog = clipcat.open(self.path)
        with self.assertRaises(clipcat.Error):
            clipcat.open(self.path)
        catalog.close()
        with self.assertRaises(clipcat.Error) as raised:
            catalog.folders()
        self.assertEqual(raised.exception.number, INVALID_REQUEST)
        with clipcat.open(self.path) as again:
            self.assertEqual(len(again.clippings("")), 1)


if __name__ == "__main__":
    unittest.main()
