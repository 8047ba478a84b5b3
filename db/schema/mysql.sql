-- The tables of the archive for MariaDB 10.6 and MySQL 8.0.16 or newer.
-- Keys compare as bytes and bytes are stored as they are: VARBINARY everywhere. The lengths are those of sqlite.sql.

-- One object of a study a row. Image sizes are pixels. They are DOUBLE with a CHECK, as an INT would round '12.5'
-- where the embedded database refuses it.
CREATE TABLE IF NOT EXISTS objects (
  STUDYUID    VARBINARY(64)  NOT NULL,
  FNAME       VARBINARY(255) NOT NULL,
  SOPCLASSUID VARBINARY(64),
  SOPINSTUID  VARBINARY(64),
  SERIESUID   VARBINARY(64),
  IMGCOLUMNS  DOUBLE CHECK (IMGCOLUMNS = FLOOR(IMGCOLUMNS) AND IMGCOLUMNS BETWEEN -2147483648 AND 2147483647),
  IMGROWS     DOUBLE CHECK (IMGROWS = FLOOR(IMGROWS) AND IMGROWS BETWEEN -2147483648 AND 2147483647),
  IMGFRAMES   DOUBLE CHECK (IMGFRAMES = FLOOR(IMGFRAMES) AND IMGFRAMES BETWEEN -2147483648 AND 2147483647),
  PRIMARY KEY (STUDYUID, FNAME)
) ENGINE=InnoDB;

-- Whether the object table holds a study: STATUS 0 valid, 1 marked for unmap, 2 error, any other to be filled.
-- UPDATED is UTC.
CREATE TABLE IF NOT EXISTS object_cache (
  STUDYUID VARBINARY(64) NOT NULL PRIMARY KEY,
  STATUS   INT           NOT NULL,
  ERROR    INT           NOT NULL CHECK (ERROR IN (0, 1)),
  UPDATED  DATETIME      NOT NULL
) ENGINE=InnoDB;

-- What the archive knows of a study: the number of its objects, whether it must have an object meta file.
CREATE TABLE IF NOT EXISTS studies (
  STUDYUID     VARBINARY(64) NOT NULL PRIMARY KEY,
  OBJECTCOUNT  INT           NOT NULL CHECK (OBJECTCOUNT >= 0),
  METAREQUIRED INT           NOT NULL CHECK (METAREQUIRED IN (0, 1))
) ENGINE=InnoDB;

-- Named references on things: KIND 'STUDYDIR' with a study UID as REFKEY, 'OBJECTFILE' with study UID, '/', file name.
CREATE TABLE IF NOT EXISTS object_references (
  REFKEY VARBINARY(320) NOT NULL,
  KIND   VARBINARY(32)  NOT NULL,
  NAME   VARBINARY(64)  NOT NULL,
  PRIMARY KEY (REFKEY, KIND, NAME)
) ENGINE=InnoDB;

-- The devices that studies can be forwarded to. DEVTYPE is a one-letter code; 'P' and 'C' take part in forwarding.
CREATE TABLE IF NOT EXISTS forward_targets (
  DEVNAME VARBINARY(64) NOT NULL PRIMARY KEY,
  DEVTYPE VARBINARY(1)  NOT NULL
) ENGINE=InnoDB;

-- The services of a device. It is forwarded to automatically when one of them has AUTOFORWARD 1.
CREATE TABLE IF NOT EXISTS forward_services (
  DEVNAME     VARBINARY(64) NOT NULL,
  SERVICE     VARBINARY(64) NOT NULL,
  AUTOFORWARD INT           NOT NULL CHECK (AUTOFORWARD IN (0, 1)),
  PRIMARY KEY (DEVNAME, SERVICE)
) ENGINE=InnoDB;
