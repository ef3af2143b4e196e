-- Window positions and forms of the desktop client, by form name.
CREATE TABLE FormState (
  FormName TEXT PRIMARY KEY,
  PosLeft INTEGER,
  PosTop INTEGER,
  Width INTEGER,
  Height INTEGER
);
CREATE TABLE DBInfo (sDBVer TEXT);
INSERT INTO DBInfo VALUES ('2');
