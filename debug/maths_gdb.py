"""Shows the library's objects in gdb as the values that they stand for.

In gdb, or in ~/.gdbinit:    source maths_gdb.py

Element i is what the object's own v[i] gives: slices go by their start and stride, paged arrays through their pages.
How many are shown is up to `set print elements`.
"""

import re

import gdb
import gdb.printing


def elements_of(array):
    """Elements, size and capacity of a coDynArr or of anything that derives from one."""
    return array["data_"], int(array["size_"]), int(array["capacity_"])


def as_array(first, length):
    """The `length` objects from the pointer `first` on as one array value."""
    return first.cast(first.type.target().array(length - 1).pointer()).dereference()


class Elements:
    """A sequence: `what` it is, and its elements, `element(i)` for i below `size`.

    Elements without a name, `name(i)`, show as those of an array."""

    def __init__(self, what, size, element, name=None):
        self.what, self.size, self.element, self.name = what, size, element, name

    def to_string(self):
        return self.what

    def display_hint(self):
        return "array" if self.name is None else None

    def children(self):
        for i in range(self.size):
            yield "[%d]" % i if self.name is None else self.name(i), self.element(i)


def dynamic_array(value):
    first, size, capacity = elements_of(value)
    room = "" if capacity == size else ", room for %d" % capacity
    return Elements("array of %d%s" % (size, room), size, lambda i: first[i])


def vector(value):
    first, size, _ = elements_of(value)
    return Elements("vector of %d" % size, size, lambda i: first[i])


def array_2d(value):
    first, _, _ = elements_of(value["cells_"])
    rows, cols, row_length = int(value["rows_"]), int(value["cols_"]), int(value["row_length_"])
    count = rows if cols > 0 else 0
    return Elements("array of %d x %d" % (rows, cols), count, lambda r: as_array(first + r * row_length, cols))


def paged_array(value):
    pages, _, _ = elements_of(value["pages_"])
    size, shift, blocks = int(value["size_"]), int(value["page_shift_"]), int(value["blocks_"])
    page_of_elements = value.type.template_argument(0).pointer()

    def element(i):
        return pages[i >> shift].cast(page_of_elements)[i & ((1 << shift) - 1)]

    what = "paged array of %d, %d pages of %d" % (size, blocks, 1 << shift)
    return Elements(what, size, element)


def slice_view(value):
    data, start, stride, length = (value[m] for m in ("data_", "start_", "stride_", "length_"))
    what = "slice of %d, start %d, stride %d" % (length, start, stride)
    return Elements(what, int(length), lambda i: data[int(start) + i * int(stride)])


def matrix(value):
    first, _, _ = elements_of(value)
    rows, cols = int(value["rows_"]), int(value["cols_"])
    count = rows if cols > 0 else 0
    return Elements("matrix of %d x %d" % (rows, cols), count, lambda r: as_array(first + r * cols, cols))


def tiny_vector(value):
    size = int(value.type.template_argument(0))
    return Elements("vector of %d" % size, size, lambda i: value["components_"][i])


def sparse_row(value):
    first, size, _ = elements_of(value)
    what = "sparse row of %d" % size
    return Elements(what, size, lambda i: first[i]["value"], lambda i: "[%d]" % int(first[i]["index"]))


def sparse_matrix(value):
    handles, rows, _ = elements_of(value["row_handles_"])
    what = "sparse matrix of %d x %d" % (rows, int(value["num_cols_"]))
    return Elements(what, rows, lambda i: handles[i]["row_"].dereference())


class SparseElement:
    def __init__(self, value):
        self.value = value

    def to_string(self):
        return "[%d] = %s" % (int(self.value["index"]), self.value["value"].format_string())


class RowHandle:
    def __init__(self, value):
        self.row = value["row_"]

    def to_string(self):
        return "no row" if int(self.row) == 0 else self.row.dereference().format_string()


def build():
    printers = gdb.printing.RegexpCollectionPrettyPrinter("maths")
    for name, make in (
        ("coDynArr<.*>", dynamic_array),
        ("coDynArr2D<.*>", array_2d),
        ("coPageArr<.*>", paged_array),
        ("mlVector", vector),
        ("mlSlice", slice_view),
        ("mlMatrix", matrix),
        ("mlTinyVector<.*>", tiny_vector),
        ("mlSparseElement", SparseElement),
        ("mlSparseRow", sparse_row),
        ("mlSparseRowcoDynArrPrgcoPrg", RowHandle),
        ("mlSparse(Sym)?Matrix(Base)?", sparse_matrix),
    ):
        printers.add_printer(name, "^%s$" % name, make)
    return printers


gdb.printing.register_pretty_printer(gdb.current_objfile(), build(), replace=True)
