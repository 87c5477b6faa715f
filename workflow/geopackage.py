"""One GeoPackage from those of many missions, whose layers have a column `mission`.

Rows are copied in SQL as they stand, geometries and spatial index included, so nothing is rounded. Layers of one name in
different coordinate systems stay apart: each is then named by its system.
"""
import os
import posixpath
import sqlite3
import struct
from urllib.parse import quote

CORE = ("gpkg_spatial_ref_sys", "gpkg_contents", "gpkg_geometry_columns", "gpkg_ogr_contents", "gpkg_extensions",
        "gpkg_data_columns", "gpkg_data_column_constraints", "layer_styles")
WKT2 = "definition_12_063"  # a column of gpkg_spatial_ref_sys that only some files have
# Errors of SQLite that speak of a mission's file; others, such as a full disk, end the merge.
OF_A_MISSION = {sqlite3.SQLITE_ERROR, sqlite3.SQLITE_CORRUPT, sqlite3.SQLITE_NOTADB, sqlite3.SQLITE_CANTOPEN}


def uri(path, mode):
    return f"file:{quote(os.fsencode(path))}?mode={mode}"


def named(name):
    return '"' + name.replace('"', '""') + '"'


def rows(db, sql, *values):
    cursor = db.execute(sql, values)
    names = [column[0] for column in cursor.description]
    return [dict(zip(names, row)) for row in cursor]


def is_of_a_mission(error):
    return error.sqlite_errorcode & 0xff in OF_A_MISSION


def system_of(row):
    """What makes two coordinate systems the same: their number if an organization gave one, else their definition.
    Some, such as those with three dimensions, have it in a column that not all files have."""
    if row is None or row["organization"].upper() == "NONE" or row["srs_id"] in (-1, 0):
        texts = [row.get(column) for column in ("definition", WKT2)] if row else []
        return ("NONE", next((text for text in texts if text and text != "undefined"), "undefined"))
    return (row["organization"].upper(), row["organization_coordsys_id"])


def contents(db, schema="main"):
    """The layers of a file, each with its coordinate system."""
    systems = {row["srs_id"]: row for row in rows(db, f"SELECT * FROM {schema}.gpkg_spatial_ref_sys")}
    for row in rows(db, f"SELECT * FROM {schema}.gpkg_contents WHERE table_name != 'layer_styles'"):
        yield row, system_of(systems.get(row["srs_id"]))


def names_of_layers(found):
    """The name in the campaign of each layer and system, from the set of all that missions have."""
    names, systems = {}, {}
    for layer, system in sorted(found, key=repr):
        systems.setdefault(layer, []).append(system)
    for layer, several in systems.items():
        nameless = [system for system in several if system[0] == "NONE"]
        for system in several:
            known = f"system_{nameless.index(system) + 1}" if system in nameless else f"{system[0]}_{system[1]}".lower()
            names[layer, system] = layer if len(several) == 1 else f"{layer}_{known}"
    return names


def renamed(sql, layer, name):
    for before, after in (('"', '"'), ("'", "'"), ("rtree_", "_"), ("feature_count_", '"')):
        sql = sql.replace(before + layer + after, before + name + after)
    return sql


class Campaign:
    """A GeoPackage being written."""

    def __init__(self, path, names):
        self.db = sqlite3.connect(uri(path, "rwc"), uri=True, isolation_level=None)
        self.db.execute("PRAGMA journal_mode = MEMORY")
        self.db.execute("PRAGMA synchronous = OFF")
        self.db.create_function("moved", 2, lambda path, folder: path and posixpath.normpath(posixpath.join(folder, path)))
        self.db.create_function("placed", 2, self._placed)
        self.names, self.columns, self.boxes, self.triggers = names, {}, {}, []

    @staticmethod
    def _placed(blob, srs_id):
        return blob and blob[:4] + struct.pack("<i" if blob[3] & 1 else ">i", srs_id) + blob[8:]

    def add(self, mission, folder, path):
        """Adds the layers of a mission.
        @param folder  of the mission's GeoPackage, relative to that of the campaign
        @throws sqlite3.Error; nothing of the mission is then in the file
        """
        self.db.execute("ATTACH ? AS source", (uri(path, "ro"),))
        before = {name: list(columns) for name, columns in self.columns.items()}, dict(self.boxes), list(self.triggers)
        self.db.execute("BEGIN")
        try:
            self._take_core()
            for row, system in contents(self.db, "source"):
                if (row["table_name"], system) in self.names:
                    self._copy(row, self.names[row["table_name"], system], mission, folder)
            self.db.execute("COMMIT")
        except BaseException:
            if self.db.in_transaction:  # a full disk has rolled it back already
                self.db.execute("ROLLBACK")
            self.columns, self.boxes, self.triggers = before
            raise
        finally:
            self.db.execute("DETACH source")

    def _take_core(self):
        here = {name for name, in self.db.execute("SELECT name FROM main.sqlite_master")}
        for row in rows(self.db, "SELECT name, sql FROM source.sqlite_master WHERE type = 'table'"):
            if row["name"] in CORE and row["name"] not in here:
                self.db.execute(row["sql"])
        for key in ("application_id", "user_version"):
            if not here:
                self.db.execute(f"PRAGMA main.{key} = {self.db.execute(f'PRAGMA source.{key}').fetchone()[0]}")
        if not here:
            self._put("gpkg_spatial_ref_sys", rows(self.db, "SELECT * FROM source.gpkg_spatial_ref_sys WHERE srs_id IN (-1, 0)"))
        if self._has_wkt2("source") and not self._has_wkt2("main"):
            self.db.execute(f"ALTER TABLE main.gpkg_spatial_ref_sys ADD COLUMN {WKT2} TEXT NOT NULL DEFAULT 'undefined'")
        self._put("gpkg_extensions", rows(self.db, "SELECT * FROM source.gpkg_extensions WHERE table_name LIKE 'gpkg%'"))
        if "layer_styles" not in here:
            self._put("gpkg_contents", rows(self.db, "SELECT * FROM source.gpkg_contents WHERE table_name = 'layer_styles'"))

    def _has_wkt2(self, schema):
        return any(row["name"] == WKT2 for row in rows(self.db, f"PRAGMA {schema}.table_info(gpkg_spatial_ref_sys)"))

    def _put(self, table, records, **changes):
        """Inserts rows that are not there yet; columns that the table does not have are added."""
        for record in records:
            record = {**record, **changes}
            columns = {row["name"] for row in rows(self.db, f"PRAGMA main.table_info({named(table)})")}
            for column in record.keys() - columns:
                self.db.execute(f"ALTER TABLE main.{named(table)} ADD COLUMN {named(column)}")
            same = " AND ".join(f"{named(column)} IS ?" for column in record if column != "fid")
            values = [value for column, value in record.items() if column != "fid"]
            if not self.db.execute(f"SELECT 1 FROM main.{named(table)} WHERE {same}", values).fetchone():
                self.db.execute(f"INSERT INTO main.{named(table)} ({', '.join(map(named, record))}) "
                                f"VALUES ({', '.join('?' * len(record))})", list(record.values()))

    def _system(self, srs_id):
        """The number here of a system of the mission's file: its own, unless another one has it."""
        row, = rows(self.db, "SELECT * FROM source.gpkg_spatial_ref_sys WHERE srs_id = ?", srs_id)
        here = {each["srs_id"]: each for each in rows(self.db, "SELECT * FROM main.gpkg_spatial_ref_sys")}
        same = [number for number, each in here.items() if system_of(each) == system_of(row)]
        number = srs_id if srs_id in same else same[0] if same else srs_id if srs_id not in here else max(100000, *here) + 1
        if not same:
            wkt2 = {WKT2: row.get(WKT2, "undefined")} if self._has_wkt2("main") else {}
            self._put("gpkg_spatial_ref_sys", [row], srs_id=number, **wkt2)
        return number

    def _create(self, row, name, columns, geometry, srs_id):
        layer, title = row["table_name"], row["identifier"]
        fields = [f"{named(column)} {kind}" for column, kind in columns.items()]
        self.db.execute(f'CREATE TABLE main.{named(name)} ("fid" INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, '
                        f'"mission" TEXT, {", ".join(fields)})')
        self._put("gpkg_contents", [row], table_name=name, srs_id=srs_id,
                  identifier=title if name == layer else title + name[len(layer):].replace("_", " ").upper())
        self._put("gpkg_ogr_contents", [{"table_name": name, "feature_count": 0}])
        self._put("gpkg_data_columns", [{"table_name": name, "column_name": "mission", "name": "Mission", "title": "Mission"}])
        of_layer = "FROM source.{} WHERE {} = ?"
        for table, column in (("gpkg_geometry_columns", "table_name"), ("gpkg_extensions", "table_name"),
                              ("layer_styles", "f_table_name")):
            changes = {"srs_id": srs_id} if table == "gpkg_geometry_columns" else {}
            changes |= {"fid": None} if table == "layer_styles" else {}
            self._put(table, rows(self.db, "SELECT * " + of_layer.format(table, column), layer), **{column: name}, **changes)
        if geometry:
            self.db.execute(f"CREATE VIRTUAL TABLE main.{named(f'rtree_{name}_{geometry}')} USING rtree(id, minx, maxx, miny, maxy)")
        self.triggers += [renamed(sql, layer, name) for sql, in self.db.execute(
            "SELECT sql FROM source.sqlite_master WHERE type = 'trigger' AND tbl_name = ?", (layer,))]
        self.columns[name] = []

    def _copy(self, row, name, mission, folder):
        layer = row["table_name"]
        columns = {each["name"]: each["type"] for each in rows(self.db, f"PRAGMA source.table_info({named(layer)})")
                   if each["name"] != "fid"}
        geometry = next((each for each, in self.db.execute(
            "SELECT column_name FROM source.gpkg_geometry_columns WHERE table_name = ?", (layer,))), None)
        srs_id = self._system(row["srs_id"]) if geometry else row["srs_id"]
        is_new = name not in self.columns
        if is_new:
            self._create(row, name, columns, geometry, srs_id)
        for column in [each for each in columns if each not in self.columns[name]]:
            if not is_new:
                self.db.execute(f"ALTER TABLE main.{named(name)} ADD COLUMN {named(column)} {columns[column]}")
            self._put("gpkg_data_columns", rows(
                self.db, "SELECT * FROM source.gpkg_data_columns WHERE table_name = ? AND column_name = ?", layer, column),
                table_name=name)
            self.columns[name].append(column)
        first = self.db.execute(f"SELECT COALESCE(MAX(fid), 0) FROM main.{named(name)}").fetchone()[0]
        taken = {column: named(column) for column in columns}
        for column in columns:
            if column.endswith("_relative"):
                taken[column] = f"moved({named(column)}, :folder)"
        if geometry and srs_id != row["srs_id"]:
            taken[geometry] = f"placed({named(geometry)}, {srs_id})"
        values = {"mission": mission, "folder": folder, "first": first}
        self.db.execute(f"INSERT INTO main.{named(name)} (fid, mission, {', '.join(map(named, columns))}) "
                        f"SELECT fid + :first, :mission, {', '.join(taken.values())} FROM source.{named(layer)}", values)
        if geometry:
            self.db.execute(f"INSERT INTO main.{named(f'rtree_{name}_{geometry}')} SELECT id + :first, minx, maxx, miny, maxy "
                            f"FROM source.{named(f'rtree_{layer}_{geometry}')}", values)
        self.boxes.setdefault(name, []).append([row[side] for side in ("min_x", "min_y", "max_x", "max_y")] + [row["last_change"]])

    def finish(self, missions):
        """Adds the table of missions, counts, extents and triggers, and closes the file.
        @param missions  a dictionary for each, all with the same keys
        """
        kinds = {column: "REAL" if any(isinstance(each[column], float) for each in missions) else
                 "INTEGER" if any(isinstance(each[column], int) for each in missions) else "TEXT" for column in missions[0]}
        self.db.execute("BEGIN")
        self.db.execute('CREATE TABLE missions ("fid" INTEGER PRIMARY KEY AUTOINCREMENT NOT NULL, ' +
                        ", ".join(f"{named(column)} {kind}" for column, kind in kinds.items()) + ")")
        self._put("missions", missions)
        self._put("gpkg_contents", [{"table_name": "missions", "data_type": "attributes", "identifier": "Missions", "srs_id": 0,
                                     "description": "The missions of the campaign, and the state of each"}])
        for name, boxes in self.boxes.items():
            west, south, east, north, changed = zip(*boxes)
            sides = [choose(known) if (known := [value for value in side if value is not None]) else None
                     for choose, side in ((min, west), (min, south), (max, east), (max, north))]
            self.db.execute("UPDATE gpkg_contents SET min_x = ?, min_y = ?, max_x = ?, max_y = ?, last_change = ? "
                            "WHERE table_name = ?", [*sides, max(changed), name])
        for name in [*self.columns, "missions", "layer_styles"]:
            self.db.execute("INSERT OR REPLACE INTO gpkg_ogr_contents (table_name, feature_count) "
                            f"SELECT ?, COUNT(*) FROM {named(name)}", (name,))
        for sql in self.triggers:
            self.db.execute(sql)
        self.db.execute("COMMIT")
        self.db.close()
