"""Refuses includes that point up the layers, and Windows headers in sources that are also built natively.

The layers, lowest first; a source may include its own layer and those below. Within a layer the table
names who may include whom where that is less than everything.
"""
import re
import sys

LAYERS = [
    ("Common_CPP/atl/", []),
    ("Common_CPP/util/", ["Common_CPP/atl/"]),
    ("Common_CPP/trace/", ["Common_CPP/util/", "Common_CPP/atl/"]),
    ("Common_CPP/ntapi/", ["Common_CPP/trace/", "Common_CPP/util/", "Common_CPP/atl/"]),
    ("Common_CPP/path_converter/",
     ["Common_CPP/ntapi/", "Common_CPP/trace/", "Common_CPP/util/", "Common_CPP/atl/"]),
    ("Common_CPP/file/", ["Common_CPP/path_converter/", "Common_CPP/ntapi/", "Common_CPP/trace/",
                          "Common_CPP/util/", "Common_CPP/atl/"]),
    ("Common_CPP/xml/", ["Common_CPP/trace/", "Common_CPP/util/", "Common_CPP/atl/"]),
    ("Common_CPP/kxwbem/", ["Common_CPP/trace/", "Common_CPP/util/", "Common_CPP/atl/"]),
    ("Agent/engine/kx_gpext/", ["Common_CPP/"]),
    ("Tools/", ["Common_CPP/"]),
    ("Tests/", ["Common_CPP/", "Tools/"]),
    ("Bench/", ["Common_CPP/", "Tools/", "Tests/support/"]),
]
# Parts of the extension that programs around it may use as well: the pure ones everywhere, the edges that
# stand alone where they are tested and measured.
SHARED_HEADERS = re.compile(r"Agent/engine/kx_gpext/(appended_update|gp_flags_text|gpo_index|pipe_message|policy_files|policy_order|targeting_settings|targeting_verdict)\.h$")
TESTED_HEADERS = re.compile(r"Agent/engine/kx_gpext/(gp_pipe|gp_reg_key|gp_utils|kx_gpext|kx_gpo|rsop_log|rsop_schema|trace_folder|work_folder)\.h$")
OURS = re.compile(r'^\s*#\s*include\s+"([^"]+)"')
SYSTEM = re.compile(r"^\s*#\s*include\s+<([^>]+)>")
WINDOWS = re.compile(r"^(windows|objbase|userenv|msxml2|wbemcli|oleauto|winternl|aclapi|sddl)\.h$", re.I)


def pure_sources():
    """The sources that the CMake lists call PURE, with their headers."""
    pure = set()
    for listing, base in (("Common_CPP/CMakeLists.txt", "Common_CPP/"),
                          ("Agent/engine/kx_gpext/CMakeLists.txt", "Agent/engine/kx_gpext/"),
                          ("Tools/CMakeLists.txt", "Tools/")):
        text = open(listing, encoding="utf-8").read()
        for block in re.findall(r"PURE\s+(.*?)(?=EDGE|DEPENDS|SYSTEM|\))", text, re.S):
            for source in block.split():
                pure.add(base + source)
                pure.add(base + source[: -len(".cpp")] + ".h")
    return pure


def layer_of(path):
    return next((layer for layer in LAYERS if path.startswith(layer[0])), None)


def check(path, pure):
    own = layer_of(path)
    faults = []
    for number, line in enumerate(open(path, encoding="utf-8"), 1):
        place = f"{path}:{number}"
        system = SYSTEM.match(line)
        if system and path in pure and WINDOWS.match(system.group(1)):
            faults.append(f"{place}: a source that is built natively includes <{system.group(1)}>")
        ours = OURS.match(line)
        if not ours or own is None:
            continue
        target = ours.group(1)
        if layer_of(target) is None:
            faults.append(f"{place}: \"{target}\" is not named from the repository's root")
        elif not (target.startswith(own[0]) or any(target.startswith(below) for below in own[1])
                  or (own[0] in ("Tools/", "Tests/", "Bench/") and SHARED_HEADERS.match(target))
                  or (own[0] in ("Tests/", "Bench/") and TESTED_HEADERS.match(target))):
            faults.append(f"{place}: {own[0]} may not include {target}")
        if own[0] == "Agent/engine/kx_gpext/":
            faults.extend(f"{place}: {why}" for why in inner_faults(path, target))
    return faults


# Inside the extension: entries -> builder -> what stands alone.
ENTRIES = ("gp_process", "gp_generate", "export_barrier")
BUILDER = ("gp_xml", "impersonation")
ALONE = ("kx_gpo", "gp_reg_key", "gp_utils", "gp_pipe", "gpo_list", "trusted_owner", "stable_folder", "trace_", "policy_",
         "work_folder", "targeting_", "rsop_", "gp_config_map", "log_barrier", "appended_update",
         "pipe_message", "gpo_index", "gp_flags_text")


def inner_faults(path, target):
    def named(name, stems):
        return any(name.rsplit("/", 1)[-1].startswith(stem) for stem in stems)
    if named(path, ALONE) and (named(target, ENTRIES) or named(target, BUILDER)):
        yield f"{path} stands below the builder and may not include {target}"
    if named(path, BUILDER) and named(target, ENTRIES):
        yield f"the builder may not include {target}"


def main():
    pure = pure_sources()
    faults = [fault for path in sys.argv[1:] for fault in check(path, pure)]
    print("\n".join(faults))
    return 1 if faults else 0


sys.exit(main())
