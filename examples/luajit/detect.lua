-- Runs a speech detector on three 32 ms chunks of a 125 Hz buzz. The chunks are alike; the answers
-- differ because of the detector's state, which each run passes on.
--
-- usage: luajit detect.lua MODEL LIBRARY
local ffi = require("ffi")

local function load(path)
    -- By path: ffi.load searches for a bare name, and may find another library or runtime.
    path = path:find("[/\\]") and path or "./" .. path
    local library = ffi.load(path)
    local declarations = assert(io.open(path:match("^.*[/\\]") .. "onnxruntime_vornic.cdef"))
    ffi.cdef(declarations:read("*a"))
    declarations:close()
    return library
end

-- Passes a handle to body and releases it, whatever body does. A null pointer equals nil. The error
-- text is meaningful only after a failure; ffi.string copies it.
local function with(library, handle, release, body)
    if handle == nil then error(ffi.string(library.onnxruntime_vn_last_error()), 0) end
    local good, message = pcall(body, handle)
    release(handle)
    if not good then error(message, 0) end
end

local function detect(library, model)
    local samples, tensor = {}, '{"dtype":"%s","shape":%s,"data":[%s]}'
    for i = 0, 511 do samples[#samples + 1] = (i % 128 - 64) / 128 end
    local input = tensor:format("float32", "[1,512]", table.concat(samples, ","))
    local rate = tensor:format("int64", "[]", "16000")
    local h = tensor:format("float32", "[2,1,64]", ("0,"):rep(127) .. "0")
    local c = h
    local session = library.onnxruntime_vn_create_session(model, nil)
    with(library, session, library.onnxruntime_vn_release_session, function()
        for chunk = 0, 2 do
            local feed = ('{"input":%s,"sr":%s,"h":%s,"c":%s}'):format(input, rate, h, c)
            local outputs = '["output","hn","cn"]'
            local result = library.onnxruntime_vn_run_json(session, outputs, feed)
            with(library, result, library.onnxruntime_vn_release_result, function()
                -- The floats are those of the first output requested. The states stay text.
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
    detect(load(path), model)
end)
if not good then
    io.stderr:write("detect: ", tostring(message), "\n")
    os.exit(1)
end
