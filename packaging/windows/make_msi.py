#!/usr/bin/env python3
# Copyright 2026 The Veltra Authors
# SPDX-License-Identifier: BSD-3-Clause
"""Makes the Windows installer out of a folder of files, the same bytes each time.

usage: make_msi.py --version 1.2.3 --files FOLDER --epoch SECONDS --output FILE.msi

FOLDER holds program/ (goes to Program Files) and effect/ (goes to the plug-in folder). Needs wixl,
msibuild and faketime.
"""

import argparse
import hashlib
import os
import pathlib
import subprocess
import tempfile
import uuid
from xml.sax.saxutils import quoteattr

# Never change: they tell Windows which products and files are the same in another version.
UPGRADE_CODE = "7A1F3C0E-6C55-4B51-9E0B-8C2B6E7D4A10"
NAMESPACE = uuid.UUID("2b7c4d1e-93d4-4f7a-8f0e-51d3b1c6a9f2")

PLUGIN_LEVELS = ("Adobe", "Common", "Plug-ins", "7.0", "MediaCore")


def code(*parts):
    return str(uuid.uuid5(NAMESPACE, "/".join(parts))).upper()


def identifier(path):
    return "f" + hashlib.sha256(str(path).encode()).hexdigest()[:20]


def folder_xml(folder, root, near, components):
    """The files and folders below, a component for each file; wixl wants paths from `near`."""
    text = ""
    for entry in sorted(folder.iterdir()):
        name = identifier(entry.relative_to(root))
        if entry.is_dir():
            text += (f'<Directory Id="{name}" Name={quoteattr(entry.name)}>'
                     f"{folder_xml(entry, root, near, components)}</Directory>\n")
        else:
            components.append("c" + name)
            text += (f'<Component Id="c{name}" Guid="{code(str(entry.relative_to(root)))}" '
                     f'Win64="yes"><File Id="{name}" Name={quoteattr(entry.name)} '
                     f'Source={quoteattr(os.path.relpath(entry, near))} KeyPath="yes"/></Component>\n')
    return text


def value_xml(name, value, inside=""):
    """A component that is a value in the registry, with what else it does."""
    return (f'<Component Id="{name}" Guid="{code(name)}" Win64="yes">{inside}'
            f'<RegistryValue Root="HKLM" Key="Software\\Veltra" Name="{name}" Type="string" '
            f'Value="{value}" KeyPath="yes"/></Component>\n')


def search_xml(name, value):
    """A property that has what an earlier installation left in the registry."""
    return (f'<Property Id="{name}"><RegistrySearch Id="{name}" Root="HKLM" '
            f'Key="Software\\Veltra" Name="{value}" Type="raw" Win64="yes"/></Property>\n')


def level_xml(level, inside):
    """A folder above ours: it goes with us if it came with us, and if it is empty then."""
    if level == len(PLUGIN_LEVELS):
        return inside
    gone = f'<RemoveFolder Id="Level{level}" On="uninstall"/>'
    return (f'<Directory Id="PluginLevel{level}" Name="{PLUGIN_LEVELS[level]}">'
            f'{level_xml(level + 1, inside)}{value_xml(f"Level{level}", "made", gone)}'
            "</Directory>\n")


def references(names):
    return "".join(f'<ComponentRef Id="{name}"/>' for name in names)


def document(files, version, near):
    program, effect = [], []
    program_xml = folder_xml(files / "program", files, near, program)
    effect_xml = folder_xml(files / "effect", files, near, effect)
    icon = os.path.relpath(pathlib.Path(__file__).resolve().parent / "veltra.ico", near)
    levels = range(len(PLUGIN_LEVELS))
    plugins = level_xml(0, f"""<Directory Id="PLUGINFOLDER" Name="Veltra">
{effect_xml}
<Component Id="OwnFolder" Guid="{code('OwnFolder')}" Win64="yes">
<RemoveFolder Id="OwnFolder" On="uninstall"/>
<RegistryValue Root="HKLM" Key="Software\\Veltra" Name="EffectFolder" Type="string"
    Value="[PLUGINFOLDER]" KeyPath="yes"/></Component>
</Directory>
""")
    searches = search_xml("SAVEDFOLDER", "EffectFolder") + "".join(
        search_xml(f"LEVEL{level}MADE", f"Level{level}") for level in levels)
    return f"""<?xml version="1.0" encoding="utf-8"?>
<Wix xmlns="http://schemas.microsoft.com/wix/2006/wi">
<Product Id="{code('product', version)}" Name="Veltra" Version="{version}" Language="1033"
    Manufacturer="The Veltra Authors" UpgradeCode="{UPGRADE_CODE}">
<Package InstallerVersion="500" Compressed="yes" InstallScope="perMachine"
    Description="Veltra {version}" Manufacturer="The Veltra Authors"/>
<MajorUpgrade DowngradeErrorMessage="A newer version of Veltra is installed."/>
<Media Id="1" Cabinet="veltra.cab" EmbedCab="yes"/>
<Icon Id="veltra.ico" SourceFile={quoteattr(icon)}/>
<Property Id="ARPPRODUCTICON" Value="veltra.ico"/>
<Property Id="ARPNOMODIFY" Value="1"/>
{searches}<Directory Id="TARGETDIR" Name="SourceDir">
<Directory Id="ProgramFiles64Folder">
<Directory Id="INSTALLFOLDER" Name="Veltra">
{program_xml}
{value_xml("PathValue", "[INSTALLFOLDER]")}
</Directory>
{plugins}
</Directory>
</Directory>
<Feature Id="Effect" Title="Effect for After Effects" Level="1" Absent="disallow">
{references(effect + ["OwnFolder"] + [f"Level{level}" for level in levels])}
</Feature>
<Feature Id="Program" Title="Program and guide" Level="1">
{references(program)}
</Feature>
<Feature Id="Path" Title="veltra on the PATH" Level="1000">
{references(["PathValue"])}
</Feature>
</Product>
</Wix>
"""


def queries():
    """What wixl knows no elements for."""
    # The PATH.
    yield ("CREATE TABLE `Environment` (`Environment` CHAR(72) NOT NULL, `Name` CHAR(255) NOT NULL "
           "LOCALIZABLE, `Value` CHAR(255) LOCALIZABLE, `Component_` CHAR(72) NOT NULL "
           "PRIMARY KEY `Environment`)")
    # = sets at installation, - removes, * of the machine; [~] keeps what is there before it.
    yield ("INSERT INTO `Environment` (`Environment`, `Name`, `Value`, `Component_`) VALUES "
           "('Path', '=-*PATH', '[~];[INSTALLFOLDER]', 'PathValue')")
    for action, sequence in (("RemoveEnvironmentStrings", 3300), ("WriteEnvironmentStrings", 5200)):
        yield ("INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES "
               f"('{action}', '', {sequence})")
    # The folder that an earlier installation was told, unless this one is told another.
    yield ("INSERT INTO `CustomAction` (`Action`, `Type`, `Source`, `Target`) VALUES "
           "('UseSavedFolder', 51, 'PLUGINFOLDER', '[SAVEDFOLDER]')")
    yield ("INSERT INTO `InstallExecuteSequence` (`Action`, `Condition`, `Sequence`) VALUES "
           "('UseSavedFolder', 'SAVEDFOLDER AND NOT PLUGINFOLDER', 60)")
    # Which of the folders above ours are there.
    yield ("CREATE TABLE `DrLocator` (`Signature_` CHAR(72) NOT NULL, `Parent` CHAR(72), "
           "`Path` CHAR(255), `Depth` INT PRIMARY KEY `Signature_`, `Parent`, `Path`)")
    for level in range(len(PLUGIN_LEVELS)):
        path = "\\".join(PLUGIN_LEVELS[:level + 1])
        yield ("INSERT INTO `DrLocator` (`Signature_`, `Path`, `Depth`) VALUES "
               f"('Level{level}There', '[ProgramFiles64Folder]{path}', 0)")
        yield ("INSERT INTO `AppSearch` (`Property`, `Signature_`) VALUES "
               f"('LEVEL{level}THERE', 'Level{level}There')")
        yield (f"UPDATE `Component` SET `Condition` = 'NOT LEVEL{level}THERE OR LEVEL{level}MADE' "
               f"WHERE `Component` = 'Level{level}'")


def run(epoch, *arguments):
    environment = dict(os.environ, TZ="UTC", LC_ALL="C.UTF-8")
    moment = f"@{epoch}"
    subprocess.run(["faketime", "-f", subprocess.run(
        ["date", "-u", "-d", moment, "+%Y-%m-%d %H:%M:%S"], check=True, capture_output=True,
        text=True).stdout.strip(), *map(str, arguments)], check=True, env=environment)


def make(options):
    digest = hashlib.sha256(options.version.encode())
    for path in sorted(options.files.rglob("*")):
        os.utime(path, (options.epoch, options.epoch))
        if path.is_file():
            digest.update(str(path.relative_to(options.files)).encode() + path.read_bytes())
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder) / "veltra.wxs"
        source.write_text(document(options.files, options.version, folder), encoding="utf-8")
        made = pathlib.Path(folder) / "veltra.msi"
        run(options.epoch, "wixl", "-a", "x64", "-o", made, source)
        for query in queries():
            run(options.epoch, "msibuild", made, "-q", query)
        # The code of the package is that of its content.
        package = "{" + code("package", digest.hexdigest()) + "}"
        run(options.epoch, "msibuild", made, "-s", "Veltra", "The Veltra Authors", "x64;1033",
            package)
        options.output.write_bytes(made.read_bytes())


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--version", required=True)
    parser.add_argument("--files", required=True, type=lambda text: pathlib.Path(text).resolve())
    parser.add_argument("--epoch", required=True, type=int)
    parser.add_argument("--output", required=True, type=pathlib.Path)
    make(parser.parse_args())
