-- The tables of the archive for SQLite 3.37 or newer.
-- Keys compare as bytes and bytes are stored as they are. The lengths, in bytes, are those of mysql.sql; STRICT takes
-- nothing but whole numbers in an INTEGER, and without a row id there is no column that a statement could name for it.

-- One object of a study a row. Image sizes are pixels.
CREATE TABLE IF NOT EXISTS objects (
  STUDYUID    TEXT NOT NULL CHECK (length(CAST(STUDYUID AS BLOB)) <= 64),
  FNAME       TEXT NOT NULL CHECK (length(CAST(FNAME AS BLOB)) <= 255),
  SOPCLASSUID TEXT CHECK (length(CAST(SOPCLASSUID AS BLOB)) <= 64),
  SOPINSTUID  TEXT CHECK (length(CAST(SOPINSTUID AS BLOB)) <= 64),
  SERIESUID   TEXT CHECK (length(CAST(SERIESUID AS BLOB)) <= 64),
  IMGCOLUMNS  INTEGER CHECK (IMGCOLUMNS BETWEEN -2147483648 AND 2147483647),
  IMGROWS     INTEGER CHECK (IMGROWS BETWEEN -2147483648 AND 2147483647),
  IMGFRAMES   INTEGER CHECK (IMGFRAMES BETWEEN -2147483648 AND 2147483647),
  PRIMARY KEY (STUDYUID, FNAME)
) STRICT, WITHOUT ROWID;

-- Whether the object table holds a study: STATUS 0 valid, 1 marked for unmap, 2 error, any other to be filled.
-- UPDATED is UTC.
CREATE TABLE IF NOT EXISTS object_cache (
  STUDYUID TEXT NOT NULL PRIMARY KEY CHECK (length(CAST(STUDYUID AS BLOB)) <= 64),
  STATUS   INTEGER NOT NULL CHECK (STATUS BETWEEN -2147483648 AND 2147483647),
  ERROR    INTEGER NOT NULL CHECK (ERROR IN (0, 1)),
  UPDATED  TEXT NOT NULL CHECK (UPDATED IS strftime('%Y-%m-%d %H:%M:%S', UPDATED))
) STRICT, WITHOUT ROWID;

-- What the archive knows of a study: the number of its objects, whether it must have an object meta file.
CREATE TABLE IF NOT EXISTS studies (
  STUDYUID     TEXT NOT NULL PRIMARY KEY CHECK (length(CAST(STUDYUID AS BLOB)) <= 64),
  OBJECTCOUNT  INTEGER NOT NULL CHECK (OBJECTCOUNT BETWEEN 0 AND 2147483647),
  METAREQUIRED INTEGER NOT NULL CHECK (METAREQUIRED IN (0, 1))
) STRICT, WITHOUT ROWID;

-- Named references on things: KIND 'STUDYDIR' with a study UID as REFKEY, 'OBJECTFILE' with study UID, '/', file name.
CREATE TABLE IF NOT EXISTS object_references (
  REFKEY TEXT NOT NULL CHECK (length(CAST(REFKEY AS BLOB)) <= 320),
  KIND   TEXT NOT NULL CHECK (length(CAST(KIND AS BLOB)) <= 32),
  NAME   TEXT NOT NULL CHECK (length(CAST(NAME AS BLOB)) <= 64),
  PRIMARY KEY (REFKEY, KIND, NAME)
) STRICT, WITHOUT ROWID;

-- The devices that studies can be forwarded to. DEVTYPE is a one-letter code; 'P' and 'C' take part in forwarding.
CREATE TABLE IF NOT EXISTS forward_targets (
  DEVNAME TEXT NOT NULL PRIMARY KEY CHECK (length(CAST(DEVNAME AS BLOB)) <= 64),
  DEVTYPE TEXT NOT NULL CHECK (length(CAST(DEVTYPE AS BLOB)) <= 1)
) STRICT, WITHOUT ROWID;

-- The services of a device. It is forwarded to automatically when one of them has AUTOFORWARD 1.
CREATE TABLE IF NOT EXISTS forward_services (
  DEVNAME     TEXT NOT NULL CHECK (length(CAST(DEVNAME AS BLOB)) <= 64),
  SERVICE     TEXT NOT NULL CHECK (length(CAST(SERVICE AS BLOB)) <= 64),
  AUTOFORWARD INTEGER NOT NULL CHECK (AUTOFORWARD IN (0, 1)),
  PRIMARY KEY (DEVNAME, SERVICE)
) STRICT, WITHOUT ROWID;
