-- How much a 125 Hz buzz sounds like speech: three chunks of 32 ms through a speech detector.
--
-- usage: luajit detect.lua MODEL LIBRARY
--
-- Every chunk is the same; the answers differ by the detector's state, which each run hands on.
local ffi = require("ffi")

local function load(path)
    -- By path: a bare name would be searched for, and another library or runtime could be found.
    path = path:find("[/\\]") and path or "./" .. path
    local library = ffi.load(path)
    local declarations = assert(io.open(path:match("^.*[/\\]") .. "onnxruntime_vornic.cdef"))
    ffi.cdef(declarations:read("*a"))
    declarations:close()
    -- Fails on a null or a 0. A null is a cdata, which is true in Lua, but it equals nil. The error
    -- text means something after a failure only; ffi.string copies it.
    local function check(outcome)
        if outcome == nil or outcome == 0 then
            local text = ffi.string(library.onnxruntime_vn_last_error())
            error(text ~= "" and text or "refused without a reason", 0)
        end
        return outcome
    end
    check(library.onnxruntime_vn_available())
    return library, check
end

-- What body makes of a handle, which is released whatever body does.
local function with(handle, release, body)
    local good, outcome = pcall(body, handle)
    release(handle)
    if not good then error(outcome, 0) end
    return outcome
end

local function detect(library, check, model)
    local samples, zeros = {}, ("0,"):rep(127) .. "0"
    for i = 0, 511 do samples[#samples + 1] = (i % 128 - 64) / 128 end
    local tensor = '{"dtype":"%s","shape":%s,"data":[%s]}'
    local input = tensor:format("float32", "[1,512]", table.concat(samples, ","))
    local rate = tensor:format("int64", "[]", "16000")
    local h = tensor:format("float32", "[2,1,64]", zeros)
    local c = h
    local session = check(library.onnxruntime_vn_create_session(model, nil))
    with(session, library.onnxruntime_vn_release_session, function()
        for chunk = 0, 2 do
            local feed = ('{"input":%s,"sr":%s,"h":%s,"c":%s}'):format(input, rate, h, c)
            local names = '["output","hn","cn"]'
            local result = check(library.onnxruntime_vn_run_json(session, names, feed))
            with(result, library.onnxruntime_vn_release_result, function()
                -- The first float32 output is the one named first. The states go back as they came.
                local probability = library.onnxruntime_vn_result_float_at(result, 0)
                print(("chunk %d: %.3f"):format(chunk, probability))
                local json = ffi.string(library.onnxruntime_vn_result_json(result))
                h, c = json:match('"hn":(%b{})'), json:match('"cn":(%b{})')
            end)
        end
    end)
end

local model, path = ...
local good, message = pcall(function()
    if not path then error("usage: luajit detect.lua MODEL LIBRARY", 0) end
    local library, check = load(path)
    detect(library, check, model)
end)
if not good then
    io.stderr:write("detect: ", tostring(message), "\n")
    os.exit(1)
end
