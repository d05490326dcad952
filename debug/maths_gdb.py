"""Shows the library's objects in gdb as the values that they stand for, and calls what programs have no code of.

In gdb, or in ~/.gdbinit:    source maths_gdb.py
Installed, it lies beside the library as <library>-gdb.py, which gdb loads with it once it may:
                             add-auto-load-safe-path <prefix>/lib
and Debian's package puts it where gdb needs no leave.

Element i is what the object's own v[i] gives: slices go by their start and stride, paged arrays through their pages.
How many are shown is up to `set print elements`. Elements, sizes, and the views row, col, diagonal and slice can be
asked for in any expression, whether the program calls these inline functions or not: m.col(1), v[2], m.rows(), and
m.operator()(1, 2), since gdb knows no m(1, 2). They are asked of objects in memory, so m.col(1)[2] is not understood.
"""

import re
import sys

import gdb
import gdb.printing
import gdb.xmethod


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


def make_slice(data, start, length, stride):
    """An mlSlice of these members."""
    kind = gdb.lookup_type("mlSlice")
    content = bytearray(kind.sizeof)
    for name, number in (("data_", data), ("start_", start), ("length_", length), ("stride_", stride)):
        field = next(f for f in kind.fields() if f.name == name)
        at, size = field.bitpos // 8, field.type.sizeof
        content[at : at + size] = (int(number) % 2 ** (8 * size)).to_bytes(size, sys.byteorder)
    return gdb.Value(bytes(content), kind)


def view_of_vector(v, start=0, stride=1, length=None):
    return make_slice(v["data_"], start, v["size_"] if length is None else length, stride)


def view_of_slice(s, first, step, length):
    return make_slice(s["data_"], s["start_"] + s["stride_"] * first, length, s["stride_"] * step)


def paged_element(array, i):
    shift = int(array["page_shift_"])
    kind = array.type.strip_typedefs().template_argument(0).pointer()
    page = array["pages_"]["data_"][int(i) >> shift].cast(kind)
    return page[int(i) & ((1 << shift) - 1)]


# Class, function, number of arguments, all of them ints: what it returns.
METHODS = (
    ("coDynArr<.*>|mlMatrix", r"operator\[\]", 1, lambda a, i: a["data_"][i]),
    ("coDynArr<.*>|coPageArr<.*>", "size", 0, lambda a: a["size_"]),
    ("coDynArr<.*>", "capacity", 0, lambda a: a["capacity_"]),
    ("coPageArr<.*>", r"operator\[\]", 1, paged_element),
    ("coDynArr2D<.*>", r"operator\(\)", 2, lambda a, r, c: a["cells_"]["data_"][r * a["row_length_"] + c]),
    ("coDynArr2D<.*>|mlMatrix", "rows", 0, lambda a: a["rows_"]),
    ("coDynArr2D<.*>|mlMatrix", "cols", 0, lambda a: a["cols_"]),
    ("mlVector", "slice", 0, view_of_vector),
    ("mlVector", "slice", 3, view_of_vector),
    ("mlSlice", r"operator\[\]", 1, lambda s, i: s["data_"][s["start_"] + i * s["stride_"]]),
    ("mlSlice", "length", 0, lambda s: s["length_"]),
    ("mlSlice", "slice", 3, view_of_slice),
    ("mlMatrix", r"operator\(\)", 2, lambda m, r, c: m["data_"][r * m["cols_"] + c]),
    ("mlMatrix", "row", 1, lambda m, r: make_slice(m["data_"], r * m["cols_"], m["cols_"], 1)),
    ("mlMatrix", "col", 1, lambda m, c: make_slice(m["data_"], c, m["rows_"], m["cols_"])),
    ("mlMatrix", "diagonal", 0,
     lambda m: make_slice(m["data_"], 0, min(int(m["rows_"]), int(m["cols_"])), m["cols_"] + 1)),
    ("mlTinyVector<.*>", r"operator\[\]", 1, lambda v, i: v["components_"][i]),
)


class Method(gdb.xmethod.XMethod):
    """One line of METHODS, which can be switched off by its name."""

    def __init__(self, owner, name, count, call):
        super().__init__("%s::%s/%d" % (owner, name.replace("\\", ""), count))
        self.owner, self.method = re.compile("(%s)$" % owner), re.compile("%s$" % name)
        self.count, self.call = count, call


class Worker(gdb.xmethod.XMethodWorker):
    def __init__(self, method):
        self.method = method

    def get_arg_types(self):
        return [gdb.lookup_type("int")] * self.method.count

    def __call__(self, this, *arguments):
        if this.type.strip_typedefs().code == gdb.TYPE_CODE_PTR:
            this = this.dereference()
        return self.method.call(this, *arguments)


class Matcher(gdb.xmethod.XMethodMatcher):
    def __init__(self):
        super().__init__("maths")
        self.methods = [Method(*line) for line in METHODS]

    def match(self, class_type, method_name):
        owner = class_type.unqualified().strip_typedefs().tag
        if owner is None:
            return None
        return [Worker(m) for m in self.methods
                if m.enabled and m.owner.match(owner) and m.method.match(method_name)]


gdb.printing.register_pretty_printer(gdb.current_objfile(), build(), replace=True)
gdb.xmethod.register_xmethod_matcher(gdb.current_objfile(), Matcher(), replace=True)
