"""shelf.py CATALOG: lists the folder tree of a catalog, adds a clipping to its top folder and
finds it again by content search. Needs the clipcat module on the Python path."""
import sys

import clipcat


def print_tree(folder, depth=0):
    print("  " * depth + folder.name)
    for child in folder.children:
        print_tree(child, depth + 1)


def main(path):
    catalog = clipcat.open(path)
    for top in catalog.folders():
        print_tree(top)
    added = catalog.add_clipping("", "Late payment", "A friendly reminder of the late payment.")
    print("added", added.id)
    for hit in catalog.search("late payment"):
        print(f"{hit.id} {hit.path}: {hit.snippet}")
    try:
        catalog.clipping("No/Such/Clipping")
    except clipcat.Error as error:
        print("refused:", error.number, error.description)


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit("usage: shelf.py CATALOG")
    main(sys.argv[1])
