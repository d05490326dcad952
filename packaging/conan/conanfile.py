from pathlib import Path
from re import search

from conan import ConanFile
from conan.errors import ConanInvalidConfiguration
from conan.tools.build import check_min_cppstd
from conan.tools.cmake import CMake, CMakeToolchain, cmake_layout
from conan.tools.files import copy

sources = Path(__file__).resolve().parents[2]


class Maths(ConanFile):
    """Recipe for Conan 2, kept with the sources: conan create packaging/conan."""

    name = "maths"
    description = "Numerical mathematics with reproducible bits"
    license = "All rights reserved"
    package_type = "library"
    settings = "os", "arch", "compiler", "build_type"
    options = {"shared": [True, False], "checked": [True, False]}
    default_options = {"shared": True, "checked": False}

    def set_version(self):
        text = (sources / "maths" / "version.h").read_text()
        parts = (search(rf"define MATHS_VERSION_{part} (\d+)", text)[1] for part in ("MAJOR", "MINOR", "PATCH"))
        self.version = ".".join(parts)

    def export_sources(self):
        for pattern in ("CMakeLists.txt", "bits/*", "cmake/*", "debug/*", "maths/*", "packaging/copyright", "platform/*"):
            copy(self, pattern, sources, self.export_sources_folder)

    def validate(self):
        check_min_cppstd(self, 20)
        if self.settings.compiler == "msvc":
            raise ConanInvalidConfiguration("maths is compiled by GCC, Clang and clang-cl, not by MSVC")

    def layout(self):
        cmake_layout(self)

    def generate(self):
        toolchain = CMakeToolchain(self) # which says BUILD_SHARED_LIBS by the option `shared`
        toolchain.cache_variables["MATHS_CHECKED"] = bool(self.options.checked)
        toolchain.cache_variables["MATHS_BUILD_TESTS"] = False
        toolchain.cache_variables["MATHS_BUILD_EXAMPLES"] = False
        toolchain.generate()

    def build(self):
        cmake = CMake(self)
        cmake.configure()
        cmake.build()

    def package(self):
        CMake(self).install()

    def package_info(self):
        # The package's own configuration passes on all options that callers need.
        self.cpp_info.set_property("cmake_find_mode", "none")
        self.cpp_info.builddirs = ["lib/cmake/maths"]
        self.cpp_info.libs = ["maths"]
        self.cpp_info.cxxflags = ["-ffp-contract=off"]
        if self.settings.compiler == "gcc":
            self.cpp_info.cxxflags.append("-fno-tree-slp-vectorize")
        if not self.options.shared:
            self.cpp_info.defines.append("MATHS_STATIC")
        if self.options.checked:
            self.cpp_info.defines.append("MATHS_CHECKED")
        self.cpp_info.includedirs = ["include/maths-" + ".".join(str(self.version).split(".")[:2])]
