-- Times whole calls from Lua, as host.py explains: luajit host.lua LIBRARY MODEL DTYPE COUNT
local ffi = require("ffi")
local path, model, dtype, count = ...
ffi.cdef(io.open(path:match("^.*/") .. "onnxruntime_vornic.cdef"):read("*a"))
local library = ffi.load(path)
local session = library.onnxruntime_vn_create_session(model, nil)
local numbers = {}
for i = 1, tonumber(count) do
    numbers[i] = dtype == "float32" and tonumber(ffi.new("float", math.sin(i))) or i * 7919 % 30522
end

local function take(result)
    local data = library.onnxruntime_vn_result_float_data(result)
    local answer = {}
    for i = 1, #numbers do answer[i] = data[i - 1] end
    library.onnxruntime_vn_release_result(result)
    return answer
end

local function json()
    local feed = '{"x0":{"dtype":"%s","shape":[%d],"data":[%s]}}'
    feed = feed:format(dtype, #numbers, table.concat(numbers, ","))
    return take(library.onnxruntime_vn_run_json(session, nil, feed))
end
local function tensor()
    local floats, dims = ffi.new("float[?]", #numbers, numbers), ffi.new("int64_t[1]", #numbers)
    local values = library.onnxruntime_vn_tensor_from_f32(floats, #numbers, dims, 1)
    local answer = take(library.onnxruntime_vn_run_tensor_fast(session, "x0", values, nil))
    library.onnxruntime_vn_release_tensor(values)
    return answer
end

local function measure(way, run)
    local minimum, answer = math.huge, nil
    for _ = 1, 100 do
        local begin = os.clock()
        answer = run()
        minimum = math.min(minimum, os.clock() - begin)
    end
    for i = 1, #numbers do assert(answer[i] == numbers[i] * (dtype == "float32" and 2 or 1)) end
    print(jit.version, way, ("%.1f"):format(1e6 * minimum))
end

measure("table.concat", json)
if dtype == "float32" then measure("tensor", tensor) end
