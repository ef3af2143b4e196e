-- Settings of the service on this machine, written by that service.
CREATE TABLE ServiceSettings (
  port INTEGER,
  HttpPort INTEGER,
  Lang INTEGER,
  Name TEXT
);
CREATE TABLE DBInfo (sDBVer TEXT);
INSERT INTO DBInfo VALUES ('2');
