-- System log lines fetched from the service, kept for export.
CREATE TABLE SystemLog (
  LogTime INTEGER NOT NULL,
  LogType INTEGER NOT NULL,
  UserName TEXT,
  Description TEXT
);
CREATE TABLE DBInfo (sDBVer TEXT);
INSERT INTO DBInfo VALUES ('2');
