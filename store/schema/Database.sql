-- The client's own settings and its list of known servers.
CREATE TABLE System (
  sDBVer TEXT,
  bAutoLogin INTEGER NOT NULL DEFAULT 0,
  bClientStartUp INTEGER NOT NULL DEFAULT 0,
  iLanguage INTEGER NOT NULL DEFAULT 99,
  ExitFormList TEXT DEFAULT '',
  UserName TEXT DEFAULT '',
  Password TEXT DEFAULT '',
  ServiceID INTEGER DEFAULT 0,
  LoginServerIP TEXT,
  LoginServerPort INTEGER
);
INSERT INTO System (sDBVer) VALUES ('2');

CREATE TABLE Service (
  ID INTEGER,
  bLocalService INTEGER NOT NULL DEFAULT 0,
  ServiceIP TEXT,
  ServicePort INTEGER,
  ServiceName TEXT,
  ServiceUserAccount TEXT,
  ServicePassword TEXT,
  ServiceTimeZone INTEGER DEFAULT 0,
  Lang INTEGER DEFAULT 0,
  Desciption TEXT,
  HttpPort INTEGER DEFAULT 80,
  bSaveAccount INTEGER NOT NULL DEFAULT 0
);

-- Event codes the client offers, in the order of their serial numbers.
CREATE TABLE EventTrigger (
  SN INTEGER PRIMARY KEY AUTOINCREMENT,
  EventCode INTEGER NOT NULL,
  TextID INTEGER NOT NULL,
  Enabled INTEGER NOT NULL DEFAULT 1
);
INSERT INTO EventTrigger (EventCode, TextID) VALUES
  (1, 426), (2, 427), (3, 110), (2001, 111), (2002, 112), (2003, 113), (2004, 147), (2005, 379),
  (2006, 380), (4001, 368), (2007, 421), (2008, 422), (2009, 428), (2011, 531), (4101, 669);
