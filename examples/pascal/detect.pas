{ How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.

  usage: detect MODEL          (built by fpc -FlFOLDER -k-rpath -kFOLDER detect.pas)

  Every chunk is the same; the answers differ by the detector's state, which each run hands on. }
program Detect; {$mode objfpc}{$H+}{$linklib onnxruntime_vornic}
uses SysUtils;

{ A pansichar that is returned is copied when it is assigned to a string. }
function LastError: pansichar; cdecl; external name 'onnxruntime_vn_last_error';
function CreateSession(Model: pansichar; Options: pointer): pointer; cdecl; external name 'onnxruntime_vn_create_session';
procedure ReleaseSession(Session: pointer); cdecl; external name 'onnxruntime_vn_release_session';
function RunJson(Session: pointer; Names, Feed: pansichar): pointer; cdecl; external name 'onnxruntime_vn_run_json';
function ResultJson(Made: pointer): pansichar; cdecl; external name 'onnxruntime_vn_result_json';
function FloatAt(Made: pointer; Index: longint): single; cdecl; external name 'onnxruntime_vn_result_float_at';
procedure ReleaseResult(Made: pointer); cdecl; external name 'onnxruntime_vn_release_result';

{ Hands on a handle. The error text means something after a failure only. }
function Check(Handle: pointer): pointer;
begin
  Result := Handle;
  if (Handle = nil) and (LastError^ = #0) then raise Exception.Create('refused without a reason');
  if Handle = nil then raise Exception.Create(LastError);
end;

{ An output's tensor in a result's text, which has the form of an input's. }
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
    Str((I mod 128 - 64) / 128:0:9, Number);  { a point in every locale, unlike FloatToStr }
    Samples := Samples + Number + ',';        { the last comma is allowed }
  end;
  H := '{"dtype":"float32","shape":[2,1,64],"data":[' + StringOfChar('0', 128).Replace('0', '0,') + ']}'; C := H;
  Session := Check(CreateSession(pansichar(Model), nil));
  try
    for Chunk := 0 to 2 do begin
      Json := '{"input":{"dtype":"float32","shape":[1,512],"data":[' + Samples + ']},"h":' + H + ',"c":' + C
        + ',"sr":{"dtype":"int64","shape":[],"data":[16000]}}';
      Made := Check(RunJson(Session, '["output","hn","cn"]', pansichar(Json)));
      WriteLn('chunk ', Chunk, ': ', FloatAt(Made, 0):0:3);  { of the output named first }
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
