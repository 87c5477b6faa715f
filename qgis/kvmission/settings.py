"""The settings of a run as parameters, from the command's own table: scripts/qgis-plugin.py writes settings.json."""

import json
import os
import re

from qgis.core import (
    QgsProcessing,
    QgsProcessingException,
    QgsProcessingParameterBoolean,
    QgsProcessingParameterDateTime,
    QgsProcessingParameterDefinition,
    QgsProcessingParameterEnum,
    QgsProcessingParameterFile,
    QgsProcessingParameterMultipleLayers,
    QgsProcessingParameterNumber,
    QgsProcessingParameterString,
)

with open(os.path.join(os.path.dirname(__file__), "settings.json"), encoding="utf-8") as _file:
    _CONTENT = json.load(_file)

VERSION = _CONTENT["version"]  # of the command whose table it is
SETTINGS = {setting["name"]: setting for setting in _CONTENT["settings"]}

# All others are advanced parameters.
_USUAL = ("outputs", "pos", "target", "cam1-offset", "cam2-offset", "accept-doubt", "overwrite")


def parameter_name(setting):
    return setting.upper().replace("-", "_")


def as_parameters(text):
    """A text of the engine with the names of parameters in place of options."""

    def name(match):
        return parameter_name(match[1]) if match[1] in SETTINGS else match[0]

    return re.sub(r"(?<![\w/-])--([a-z0-9-]+)", name, text)


def _label(setting):
    """The setting's name in words, the first clause of its help, its unit."""
    name, unit = setting["name"].replace("-", " "), setting["unit"]
    text = setting["help"].partition(": ")[0] if setting["choices"] else setting["help"].removeprefix(f"{name}: ")
    clause = as_parameters(re.split(r"; | \(default", text)[0])
    return f"{name[0].upper()}{name[1:]}: {clause}" + (f" [{unit}]" if unit else "")


def _choice(*names, options, **more):
    return QgsProcessingParameterEnum(*names, options=options, usesStaticStrings=True, optional=True, **more)


def _file(behavior):
    return lambda setting, *names: QgsProcessingParameterFile(*names, behavior=behavior, optional=True)


def _number(kind, **limits):
    return lambda setting, *names: QgsProcessingParameterNumber(*names, type=kind, optional=True, **limits)


_MADE_BY_KIND = {
    "file": _file(QgsProcessingParameterFile.File),
    "folder": _file(QgsProcessingParameterFile.Folder),
    "files": lambda setting, *names: QgsProcessingParameterMultipleLayers(
        *names, layerType=QgsProcessing.TypeFile, optional=True
    ),
    "number": _number(QgsProcessingParameterNumber.Double),
    "count": _number(QgsProcessingParameterNumber.Integer, minValue=1),
    "date": lambda setting, *names: QgsProcessingParameterDateTime(
        *names, type=QgsProcessingParameterDateTime.Date, optional=True
    ),
    "choice": lambda setting, *names: _choice(*names, options=setting["choices"]),
    "choices": lambda setting, *names: _choice(*names, options=setting["choices"], allowMultiple=True),
    "flag": lambda setting, *names: QgsProcessingParameterBoolean(*names, defaultValue=False),
    "text": lambda setting, *names: QgsProcessingParameterString(*names, optional=True),
}


def parameter(name):
    """A setting as a parameter without a default: what is not given is the engine's to decide."""
    setting = SETTINGS[name]
    made = _MADE_BY_KIND[setting["kind"]](setting, parameter_name(name), _label(setting))
    made.setHelp(as_parameters(setting["help"]))
    if name not in _USUAL:
        made.setFlags(made.flags() | QgsProcessingParameterDefinition.FlagAdvanced)
    return made


def _date(algorithm, *given):
    date = algorithm.parameterAsDateTime(*given).date()
    if not date.isValid():
        raise QgsProcessingException(f"{given[1]} must be a date YYYY-MM-DD")
    return date.toString("yyyy-MM-dd")


def _checked(value, key, kind):
    """@throws QgsProcessingException  for a text that QGIS would take for 0 or for true"""
    if not isinstance(value, str):
        return
    if kind == "flag" and value.lower() not in ("true", "false", "1", "0"):
        raise QgsProcessingException(f"{key} must be true or false")
    if kind in ("number", "count") and not re.fullmatch(r"\s*[+-]?(\d+\.?\d*|\.\d+)(e[+-]?\d+)?\s*", value, re.I | re.A):
        raise QgsProcessingException(f"{key} must be a number")


_READ_BY_KIND = {
    "file": lambda algorithm, *given: algorithm.parameterAsFile(*given),
    "folder": lambda algorithm, *given: algorithm.parameterAsFile(*given),
    "files": lambda algorithm, *given: algorithm.parameterAsFileList(*given),
    "number": lambda algorithm, *given: algorithm.parameterAsDouble(*given),
    "count": lambda algorithm, *given: algorithm.parameterAsInt(*given),
    "date": _date,
    "choice": lambda algorithm, *given: algorithm.parameterAsEnumString(*given),
    "choices": lambda algorithm, *given: ",".join(algorithm.parameterAsEnumStrings(*given)),
    "flag": lambda algorithm, *given: algorithm.parameterAsBool(*given),
    "text": lambda algorithm, *given: algorithm.parameterAsString(*given),
}


def given(algorithm, names, parameters, context):
    """Values of the settings that the user gave, by the names of the options."""
    values = {}
    for name in names:
        key = parameter_name(name)
        if parameters.get(key) in (None, "", []):
            continue
        kind = SETTINGS[name]["kind"]
        _checked(parameters[key], key, kind)
        value = _READ_BY_KIND[kind](algorithm, parameters, key, context)
        if value not in (False, "", []) or isinstance(value, (int, float)) and not isinstance(value, bool):
            values[name] = value
    return values
