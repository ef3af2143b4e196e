-- Events received from the service, kept for export.
CREATE TABLE EventLog (
  LogTime INTEGER NOT NULL,
  Channel INTEGER NOT NULL,
  EventCode INTEGER NOT NULL,
  Description TEXT
);
CREATE TABLE DBInfo (sDBVer TEXT);
INSERT INTO DBInfo VALUES ('2');
