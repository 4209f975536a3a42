#!/usr/bin/env python3
"""Reads a recipe as rattler-build does and renders it for Linux, with compilers and Pythons as they come:
whatever the format does not know, or a variable that is not there, is an error. Builds nothing.
"""

import sys

import rattler_build

recipe = rattler_build.Stage0Recipe.from_file(sys.argv[1])
variants = rattler_build.VariantConfig({
    "cxx_compiler": ["gxx"], "c_stdlib": ["sysroot"], "c_stdlib_version": ["2.17"], "python": ["3.12.*"],
})  # fmt: skip
platform = rattler_build.PlatformConfig(target_platform="linux-64")
rendered = recipe.render(variants, rattler_build.RenderConfig(platform=platform))
for variant in rendered:
    print(variant.recipe.package.name, variant.recipe.package.version)
sys.exit(0 if rendered else "the recipe describes no package")
