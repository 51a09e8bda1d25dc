%% Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
%% differ because of the detector's state, which each run passes on.
%%
%% usage: escript detect.erl MODEL TOOL     (TOOL is the path of onnxruntime_vornic-run)
%%
%% The tool runs as a port, which reads a feed and writes a result on one line each. No model can
%% take the Erlang node down.
-module(detect).
-export([main/1]).

main([Model, Tool]) ->
    try detect(Model, Tool)
    catch
        throw:Text -> fail(Text);
        error:Reason -> fail(io_lib:format("~s: ~p", [Tool, Reason])) % open_port's, such as enoent
    end;
main(_) -> fail("usage: escript detect.erl MODEL TOOL").

fail(Text) ->
    io:format(standard_error, "detect: ~ts~n", [Text]),
    halt(1).

detect(Model, Tool) ->
    %% A result has fewer than 65,536 bytes, so every line arrives whole.
    Port = open_port({spawn_executable, filename:absname(Tool)},
                     [{args, [Model, "-", "output", "hn", "cn", "--lines"]},
                      {line, 65536}, binary, exit_status]),
    Samples = tensor("float32", "[1,512]", [(I rem 128 - 64) / 128 || I <- lists:seq(0, 511)]),
    Zeros = tensor("float32", "[2,1,64]", lists:duplicate(128, 0.0)),
    Step = fun(Chunk, State) -> step(Port, Samples, State, Chunk) end,
    lists:foldl(Step, {Zeros, Zeros}, [0, 1, 2]),
    port_close(Port).

step(Port, Samples, {H, C}, Chunk) ->
    Rate = tensor("int64", "[]", [16000.0]),
    Form = "{\"input\":~s,\"sr\":~s,\"h\":~s,\"c\":~s}",
    Result = ask(Port, io_lib:format(Form, [Samples, Rate, H, C])),
    Speech = find("\"data\":\\[([^]]*)]", output("output", Result)),
    io:format("chunk ~b: ~.3f~n", [Chunk, number(Speech)]),
    {output("hn", Result), output("cn", Result)}.

%% The result for a feed, which must not contain a line break. Throws the library's errors.
ask(Port, Feed) ->
    port_command(Port, [Feed, $\n]),
    receive
        {Port, {data, {eol, <<"{\"error\":", Text/binary>>}}} ->
            throw(string:trim(Text, both, "\"}"));
        {Port, {data, {eol, Result}}} -> Result;
        {Port, {exit_status, Status}} ->
            throw("the tool ended with status " ++ integer_to_list(Status))
    end.

tensor(Type, Shape, Numbers) ->
    Data = lists:join(",", [float_to_list(Number, [{decimals, 9}]) || Number <- Numbers]),
    io_lib:format("{\"dtype\":\"~s\",\"shape\":~s,\"data\":[~s]}", [Type, Shape, Data]).

%% An output's tensor in a result. It has the form of an input's.
output(Name, Result) -> find("\"" ++ Name ++ "\":({[^}]*})", Result).

find(Pattern, Text) ->
    {match, [Found]} = re:run(Text, Pattern, [{capture, all_but_first, binary}]),
    Found.

%% binary_to_float requires a fraction, which 1e-05 lacks.
number(Text) -> binary_to_float(re:replace(Text, "^-?\\d+(?=e|$)", "&.0", [{return, binary}])).
