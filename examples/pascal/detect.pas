{ Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
  differ because of the detector's state, which each run passes on.

  usage: detect MODEL          (built by fpc -FlFOLDER -k-rpath -kFOLDER detect.pas) }
program Detect; {$mode objfpc}{$H+}{$linklib onnxruntime_vornic}
uses StrUtils, SysUtils;
const Prefix = 'onnxruntime_vn_';
{ A pansichar that is returned is copied when it is assigned to a string. }
function LastError: pansichar; cdecl; external name Prefix + 'last_error';
function CreateSession(Model: pansichar; Options: pointer): pointer; cdecl;
  external name Prefix + 'create_session';
procedure ReleaseSession(Session: pointer); cdecl; external name Prefix + 'release_session';
function RunJson(Session: pointer; Outputs, Feed: pansichar): pointer; cdecl;
  external name Prefix + 'run_json';
function ResultJson(Made: pointer): pansichar; cdecl; external name Prefix + 'result_json';
function FloatAt(Made: pointer; I: int32): single; cdecl; external name Prefix + 'result_float_at';
procedure ReleaseResult(Made: pointer); cdecl; external name Prefix + 'release_result';

{ Returns a handle. The error text is meaningful only after a failure. }
function Check(Handle: pointer): pointer;
begin
  if Handle = nil then raise Exception.Create(LastError);
  Result := Handle;
end;

{ An output's tensor in a result's JSON. It has the form of an input's. }
function State(const Name, Json: string): string;
begin
  Result := Copy(Json, Pos('"' + Name + '":{', Json) + Length(Name) + 3);
  SetLength(Result, Pos('}', Result));
end;

procedure Run(const Model: string);
var
  Session, Made: pointer;
  I, Chunk: integer;
  Samples: string = ''; Number, H, C, Json: string;
begin
  for I := 0 to 511 do begin
    Str((I mod 128 - 64) / 128:0:9, Number);  { with a point in every locale }
    Samples := Samples + Number + ',';        { a trailing comma is allowed }
  end;
  H := '{"dtype":"float32","shape":[2,1,64],"data":[' + DupeString('0,', 128) + ']}'; C := H;
  Session := Check(CreateSession(pansichar(Model), nil));
  try
    for Chunk := 0 to 2 do begin
      Json := '{"input":{"dtype":"float32","shape":[1,512],"data":[' + Samples + ']},"h":' + H +
        ',"c":' + C + ',"sr":{"dtype":"int64","shape":[],"data":[16000]}}';
      Made := Check(RunJson(Session, '["output","hn","cn"]', pansichar(Json)));
      WriteLn('chunk ', Chunk, ': ', FloatAt(Made, 0):0:3);  { of the first output }
      Json := ResultJson(Made);
      ReleaseResult(Made);
      H := State('hn', Json); C := State('cn', Json);
    end;
  finally ReleaseSession(Session) end;
end;

begin
  try
    if ParamCount <> 1 then raise Exception.Create('usage: detect MODEL');
    Run(ParamStr(1));
  except on E: Exception do begin
    WriteLn(StdErr, 'detect: ', E.Message); Halt(1);
  end end;
end.
